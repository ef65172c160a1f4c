#pragma once

// The final clean-up of the installation directory after the browser
// component's uninstaller reported a failed uninstall: when only the
// uninstaller's own folder and the version folder with its setup.exe are
// left, those remains are removed.

#include <string>

#include "common/installation_record.h"

namespace oru {

// True only when the installation directory holds exactly the folders
// "uninstall" and one other, that other holds only "Installer", and that holds
// only "setup.exe" (names compared case-sensitively). Every reason for false
// is logged; nothing is changed.
[[nodiscard]] bool CheckInstallDirMinimalState(const InstallationRecord& installation);

// Removes the leftover setup.exe and the version folder when the directory
// is in its minimal state; otherwise leaves everything in place. Logged only.
// The "uninstall" folder and the installation directory itself stay.
void CleanupInstallationDirectory(const InstallationRecord& installation);

}  // namespace oru
