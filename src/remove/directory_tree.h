#pragma once

// Depth-first removal of a whole directory tree, with a telemetry event at the
// start and end of every directory and every file.

#include <string>

namespace oru {

// Removes dir (no trailing backslash) and everything below it. Files in use
// go through DeleteFileWithFallback; a directory that cannot be removed is
// scheduled for deletion at reboot. A failure never stops the walk. True when
// dir is gone or scheduled and every entry below it was removed or moved away.
//
// A junction, symbolic link or mount point - dir itself or anything below
// it - is never entered: the link itself is removed and what it points to is
// left alone.
bool DeleteDirectoryTree(const std::wstring& dir);

}  // namespace oru
