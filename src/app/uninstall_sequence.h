#pragma once

// The uninstall itself, once the options are known: stop the application and
// find the installation, run the browser component's uninstaller, then remove
// the registry entries and what is left of the installation.

#include "app/uninstall_context.h"

namespace oru {

// Runs the uninstall on context, whose installation it reads once the
// application is stopped.
// Returns 0 on success, 1 when it ran but did not complete, and 4 or 5 when
// the installation check failed; every step is logged and reported.
[[nodiscard]] unsigned RunUninstall(UninstallContext& context);

}  // namespace oru
