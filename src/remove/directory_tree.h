#pragma once

// Depth-first removal of a whole directory tree, with a telemetry event at the
// start and end of every directory and every file.

#include <string>

#include "common/directory_entries.h"

namespace oru {

// The line for a folder whose listing failed, the folder's path following.
inline constexpr wchar_t kListingFailedLine[] = L"Failed to find files in directory: ";

// Removes dir (no trailing backslash) and everything below it. Files in use
// go through DeleteFileWithFallback; a directory that cannot be removed is
// scheduled for deletion at reboot. A failure never stops the walk. True when
// dir is gone or scheduled and every entry below it was removed or moved away.
//
// A junction, symbolic link or mount point - dir itself or anything below
// it - is never entered: the link itself is removed and what it points to is
// left alone.
//
// Every name is reached through its extended-length path: reserved device
// names, trailing dots and blanks, and paths past MAX_PATH go like any other.
[[nodiscard]] bool DeleteDirectoryTree(const std::wstring& dir);

// Removes one entry of dir as the walk above does - a directory link as a
// link, a folder as a tree, a file with its fallbacks - with the same log
// lines but no telemetry events: it serves the clean-up that runs after the
// telemetry library is gone. True when it went (or was moved away or
// scheduled).
[[nodiscard]] bool DeleteEntryUnreported(const std::wstring& dir, const DirectoryEntry& entry);

}  // namespace oru
