#include "common/links.h"

#include <windows.h>

#include "common/directory_entries.h"
#include "common/path_rules.h"

namespace oru {

bool IsReparsePoint(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(ExtendedLengthPath(path).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  // Nothing there is no link; anything else that hides the answer is taken
  // for one, so that a check built on this refuses rather than guesses.
  const DWORD error = ::GetLastError();
  return error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
}

std::wstring FindLinkFrom(std::wstring_view base, std::wstring_view path) {
  for (size_t end = base.size();; end = path.find(L'\\', end + 1)) {
    const std::wstring prefix(path.substr(0, end));
    if (IsReparsePoint(prefix)) return prefix;
    if (end >= path.size()) return {};
  }
}

bool IsTreeFreeOfLinks(const std::wstring& directory, std::wstring& offender) {
  bool clean = true;
  const bool listed = ForEachEntry(directory, [&](const DirectoryEntry& entry) {
    const std::wstring child = directory + L"\\" + std::wstring(entry.name);
    if (entry.IsReparsePoint()) {
      offender = child;
      clean = false;
    } else if (entry.IsDirectory()) {
      clean = IsTreeFreeOfLinks(child, offender);
    }
    return clean;
  });
  if (!listed) offender = directory;
  return listed && clean;
}

}  // namespace oru
