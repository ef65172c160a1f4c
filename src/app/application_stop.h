#pragma once

// The first step of the uninstall: make sure the application is not running
// (killing it when the user asked for --force), then read and judge the
// installation record.

#include "app/uninstall_context.h"

namespace oru {

// Result codes of StopAppAndFindInstallation.
inline constexpr unsigned kAppKillFailed = 4;            // running, --force, and the kill failed
inline constexpr unsigned kInstallationInfoMissing = 5;  // OruInstallPath or pv missing or empty
inline constexpr unsigned kInstallationReady = 6;        // the only code with which the uninstall goes on

// Kills a running oru.stravo.exe when context.force is set; without it only
// logs that the application is running and carries on. Then reads the
// installation record from the registry (each read logs its outcome) into
// context.install_path and context.pv; a refused record leaves both empty,
// as a missing one does. A failed kill returns at once: nothing is read and
// both stay empty for the rest of the run. Reports the stop events.
[[nodiscard]] unsigned StopAppAndFindInstallation(UninstallContext& context);

}  // namespace oru
