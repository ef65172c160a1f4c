#pragma once

// The first step of the uninstall: make sure the application is not running
// (killing it when the user asked for --force), then take on the
// installation the entry found.

#include "app/uninstall_context.h"
#include "common/installation_record.h"

namespace oru {

// Result codes of StopAppAndFindInstallation.
inline constexpr unsigned kAppKillFailed = 4;            // running, --force, and the kill failed
inline constexpr unsigned kInstallationInfoMissing = 5;  // OruInstallPath or pv missing or empty
inline constexpr unsigned kInstallationReady = 6;        // the only code with which the uninstall goes on

// Kills a running oru.stravo.exe when context.force is set; without it only
// logs that the application is running and carries on. Then fills
// context.install_path and context.pv from `installation`, the record the
// entry read and judged once (empty when refused or missing). A failed kill
// returns at once, before the record is taken on. Reports the stop events.
[[nodiscard]] unsigned StopAppAndFindInstallation(UninstallContext& context, const InstallationRecord& installation);

}  // namespace oru
