#pragma once

// The final clean-up of the installation directory after the browser
// component's uninstaller reported a failed uninstall: when only the
// uninstaller's own folder and the version folder with its setup.exe are
// left, those remains are removed.

#include <string>

#include "common/installation_record.h"

namespace oru {

// Removes the leftover setup.exe and the version folder when the directory
// is in its minimal state; otherwise leaves everything in place. Logged only.
void CleanupInstallationDirectory(const InstallationRecord& installation);

}  // namespace oru
