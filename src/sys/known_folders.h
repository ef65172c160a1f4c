#pragma once

// The user's and the system's own folders, as the shell names them. An
// installation record that names one of these, or a folder holding one,
// describes no installation of ours.

#include <string>
#include <vector>

namespace oru {

// The profile, local and roaming application data, the temporary folder,
// Desktop, Documents, Downloads, the Windows folder and the program-files
// folders, each in normal form (no trailing separator). A folder the system
// cannot name is left out.
[[nodiscard]] std::vector<std::wstring> ProtectedFolders();

}  // namespace oru
