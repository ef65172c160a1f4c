#include "common/entry_removal.h"

#include <windows.h>

#include "common/path_rules.h"

namespace oru {
namespace {

// The attributes SetFileAttributesW accepts; the others it would refuse.
constexpr DWORD kSettableAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN |
                                      FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_OFFLINE |
                                      FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_TEMPORARY;

// Runs `remove` on the extended path; when it is refused and a read-only
// attribute is what stands in the way, lifts that attribute from this entry
// alone and tries once more, putting it back should the second try fail too.
// A link keeps its attribute: lifting it could reach the link's target.
template <typename Remove>
bool RemoveLiftingReadOnly(const std::wstring& path, Remove remove) {
  const std::wstring extended = ExtendedLengthPath(path);
  if (remove(extended.c_str())) return true;
  const DWORD error = ::GetLastError();
  const DWORD attributes = ::GetFileAttributesW(extended.c_str());
  if (error != ERROR_ACCESS_DENIED || attributes == INVALID_FILE_ATTRIBUTES ||
      (attributes & FILE_ATTRIBUTE_READONLY) == 0 || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    ::SetLastError(error);
    return false;
  }
  const DWORD kept = attributes & kSettableAttributes;
  const DWORD lifted = kept & ~FILE_ATTRIBUTE_READONLY;
  if (!::SetFileAttributesW(extended.c_str(), lifted != 0 ? lifted : FILE_ATTRIBUTE_NORMAL)) {
    ::SetLastError(error);
    return false;
  }
  if (remove(extended.c_str())) return true;
  const DWORD retryError = ::GetLastError();
  ::SetFileAttributesW(extended.c_str(), kept);
  ::SetLastError(retryError);
  return false;
}

}  // namespace

bool RemoveFileEntry(const std::wstring& path) {
  return RemoveLiftingReadOnly(path, [](const wchar_t* p) { return ::DeleteFileW(p) != 0; });
}

bool RemoveFolderEntry(const std::wstring& path) {
  return RemoveLiftingReadOnly(path, [](const wchar_t* p) { return ::RemoveDirectoryW(p) != 0; });
}

bool EntryExists(const std::wstring& path) {
  return ::GetFileAttributesW(ExtendedLengthPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace oru
