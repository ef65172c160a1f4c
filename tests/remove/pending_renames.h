#pragma once

// Reads back the deletions the system will carry out at the next reboot.
// Wine executes and clears them on any wineboot, so tests read them at once.

#include <string>
#include <vector>

namespace oru::test {

// The paths named in PendingFileRenameOperations, without their "\??\" prefix.
[[nodiscard]] std::vector<std::wstring> PendingRebootOperations();

// True when path is among them.
[[nodiscard]] bool IsPendingDeletion(const std::wstring& path);

}  // namespace oru::test
