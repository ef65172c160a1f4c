#pragma once

// What is left of the installation once the self-deleting script is due.
// The script's "rd /s /q" cannot name what only extended-length paths reach
// (reserved names, trailing dots and blanks, paths past MAX_PATH), and Wine's
// empties its working directory instead of a tree that deep: the uninstaller
// removes the remains itself first, so that the script only has its own
// shallow folder left to finish.

#include <string>
#include <vector>

namespace oru {

// Deletes everything below installDir except the entries that `keep` names
// and the folders on the way to them, each with DeleteEntryUnreported (links removed,
// never entered; every entry logged as the tree walk logs it). installDir
// and `keep` in the form CanonicalPathForm gives; installDir itself stays.
// True when everything else went (or was moved away or scheduled).
[[nodiscard]] bool DeleteRemainsExcept(const std::wstring& installDir, const std::vector<std::wstring>& keep);

}  // namespace oru
