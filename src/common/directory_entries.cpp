#include "common/directory_entries.h"

#include <windows.h>

#include "common/path_rules.h"
#include "common/unique_handle.h"

namespace oru {

bool DirectoryEntry::IsDirectory() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

bool DirectoryEntry::IsReparsePoint() const { return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }

bool ForEachEntry(const std::wstring& directory, const std::function<bool(const DirectoryEntry&)>& visit) {
  // "\*" alone would list the current drive's root, which nothing here means.
  if (directory.empty()) {
    ::SetLastError(ERROR_INVALID_NAME);
    return false;
  }
  WIN32_FIND_DATAW data{};
  UniqueFind find(::FindFirstFileW((ExtendedLengthPath(directory) + L"\\*").c_str(), &data));
  if (!find) return false;
  do {
    const std::wstring_view name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    const DirectoryEntry entry{name, data.dwFileAttributes,
                               (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow};
    if (!visit(entry)) return true;
  } while (::FindNextFileW(find.get(), &data));
  // A listing cut short by anything but its end is no listing: a check that
  // read it as complete would decide on half a folder.
  return ::GetLastError() == ERROR_NO_MORE_FILES;
}

}  // namespace oru
