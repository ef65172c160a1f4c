#pragma once

// Pure rules about paths read from the registry, which may be damaged or
// hostile: one normal form, and tests of what a path may name before
// anything under it is run or deleted. No file-system access here.

#include <string>
#include <string_view>

namespace oru {

// Forward slashes become backslashes and trailing separators go, so that
// "C:/a/b/" and "C:\a\b" compare equal. Nothing else is changed.
[[nodiscard]] std::wstring NormalizePath(std::wstring_view path);

// Empty when `path` (already normal) is an absolute local path below a drive
// root, "X:\name[\name...]"; otherwise why not. Refused: relative paths, dot
// segments, empty segments, device and network paths, a drive root, and
// names the system would silently rewrite (trailing dot or blank) or reads
// specially (":" streams, wildcards).
[[nodiscard]] std::wstring_view AbsoluteLocalPathRefusal(std::wstring_view path);

// True for one plain folder name: not empty, not "." or "..", none of
// \ / : * ? " < > | or control characters, no trailing dot or blank.
[[nodiscard]] bool IsPlainFolderName(std::wstring_view name);

// The prefixes of the extended-length spellings below.
inline constexpr std::wstring_view kExtendedPrefix = L"\\\\?\\";
inline constexpr std::wstring_view kExtendedUncPrefix = L"\\\\?\\UNC\\";

// The extended-length spelling of an absolute path, "\\?\C:\..." or
// "\\?\UNC\server\share\...". Through it the system takes every name as it
// stands - reserved device names ("nul", "aux.txt"), trailing dots and blanks -
// and paths past MAX_PATH, so that nothing of ours is left behind for its name
// alone. The prefix also turns off the system's own clean-up, so `path` must be
// in normal form; one that is not absolute, holds a ".", ".." or empty
// segment, or is a device or already extended path, comes back as it is.
[[nodiscard]] std::wstring ExtendedLengthPath(std::wstring_view path);

// True when `path` equals `directory` or lies below it; both in normal form,
// compared without regard to letter case, as the file system does.
[[nodiscard]] bool IsSameOrInside(std::wstring_view path, std::wstring_view directory);

}  // namespace oru
