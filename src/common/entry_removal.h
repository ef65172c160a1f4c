#pragma once

// Removing one entry of a directory, and asking whether one is there, by its
// extended-length path: names the system would otherwise read as devices or
// trim ("nul", "name."), and paths past MAX_PATH, are reached like any other.
// Each returns as the Win32 call does: false with the error left in
// GetLastError().

#include <string>

namespace oru {

// Deletes one file; a file link is deleted as a link. When a read-only
// attribute is what stands in the way, it is cleared on this file alone -
// never through a link - and set again should the deletion still fail.
[[nodiscard]] bool RemoveFileEntry(const std::wstring& path);

// Removes one empty folder, or a directory link itself without entering it;
// a read-only attribute is handled as for a file.
[[nodiscard]] bool RemoveFolderEntry(const std::wstring& path);

// True when something, of whatever kind, is there under exactly this name.
[[nodiscard]] bool EntryExists(const std::wstring& path);

}  // namespace oru
