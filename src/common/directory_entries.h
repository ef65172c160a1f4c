#pragma once

// The one way this program lists a directory: every entry but "." and "..",
// with its attributes as the listing reports them (for a link: the link's
// own, never its target's), and the find handle always closed.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace oru {

struct DirectoryEntry {
  std::wstring_view name;
  std::uint32_t attributes = 0;
  std::uint64_t size = 0;

  [[nodiscard]] bool IsDirectory() const;
  // A reparse point of any kind (junction, symbolic link, mount point...):
  // never to be entered.
  [[nodiscard]] bool IsReparsePoint() const;
};

// Calls visit(entry) for each entry of `directory` (listed through its
// extended-length path) in the file system's order until visit returns
// false. Returns false, with the system's error left in GetLastError(), when
// the listing cannot start or breaks off before its end.
bool ForEachEntry(const std::wstring& directory, const std::function<bool(const DirectoryEntry&)>& visit);

}  // namespace oru
