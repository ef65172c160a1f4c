#pragma once

// Small helpers the workspace manager's files share. The workspace keeps its
// paths in MAX_PATH buffers, as the system calls it makes expect.

#include <cstdint>
#include <string>

namespace oru::workspace_support {

inline constexpr std::size_t kPathCapacity = 260;  // MAX_PATH

// Formats into a MAX_PATH buffer. False when the result would not fit: a
// truncated path names a different file, which must never be touched.
bool FormatPath(wchar_t (&out)[kPathCapacity], const wchar_t* format, ...);

[[nodiscard]] unsigned ProcessId();

// Whole mebibytes, as the workspace's log lines count them.
[[nodiscard]] std::wstring Mebibytes(std::uint64_t bytes);

// Attributes as GetFileAttributesW gives them; an invalid value is no
// directory.
[[nodiscard]] bool IsDirectory(std::uint32_t attributes);

}  // namespace oru::workspace_support
