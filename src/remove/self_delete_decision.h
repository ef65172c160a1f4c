#pragma once

// The last step of a run: whether the installation directory is down to the
// uninstaller's own folder, and whether this uninstaller may remove it. The
// self-deleting script ends in "rd /s /q", which follows links and lets the
// command interpreter expand "%"; so before it starts, the uninstaller
// removes everything else below the installation directory itself.

#include <string>
#include <vector>

namespace oru {

// Starts the self-deleting script for installPath when it holds nothing but
// "uninstall" folders, the uninstaller (ownExecutable) runs from its own
// installPath\uninstall, the path holds no "%" and no link lies anywhere in
// it. First removes everything below installPath but ownExecutable and the
// paths in stillInUse (the workspace and the children's working folder)
// and the folders holding them. Every path is compared in its canonical
// form; one that has none refuses. Otherwise lists what is left. Every
// refusal is one warning line with its reason. True when the script started.
[[nodiscard]] bool StartSelfDeleteIfOnlyUninstallerLeft(const std::wstring& installPath,
                                                        const std::wstring& ownExecutable,
                                                        const std::vector<std::wstring>& stillInUse);

}  // namespace oru
