#pragma once

// The last step of a run: whether the installation directory is down to the
// uninstaller's own folder, and whether this uninstaller may remove it. The
// self-deleting script ends in "rd /s /q", which follows links and lets the
// command interpreter expand "%"; so before it starts, the uninstaller
// removes everything else below the installation directory itself.

#include <string>

namespace oru {

// Starts the self-deleting script for installPath when it holds nothing but
// "uninstall" folders, the uninstaller (ownExecutable) runs from its own
// installPath\uninstall, the run has a working folder (ChildWorkingDirectory)
// for the script to stand in, no path the script is handed holds "%" and no
// link lies anywhere in installPath. First removes everything below
// installPath but ownExecutable, the workspace and the working folder and
// the folders holding them. Every path is compared in its canonical form;
// one that has none refuses. Otherwise lists what is left. Every refusal,
// and a script that did not start, is one warning line with its reason.
// True only when the script started.
[[nodiscard]] bool StartSelfDeleteIfOnlyUninstallerLeft(const std::wstring& installPath,
                                                        const std::wstring& ownExecutable,
                                                        const std::wstring& workspace);

}  // namespace oru
