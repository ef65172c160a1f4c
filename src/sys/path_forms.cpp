#include "sys/path_forms.h"

#include <windows.h>

#include "common/path_rules.h"
#include "common/unique_handle.h"

namespace oru {

std::wstring LongPathForm(const std::wstring& path) {
  wchar_t buffer[MAX_PATH] = {};
  const DWORD length = ::GetLongPathNameW(path.c_str(), buffer, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return NormalizePath(path);
  return NormalizePath(buffer);
}

std::wstring RealPathForm(const std::wstring& path) {
  // No access rights asked: opening only to name the object. Backup
  // semantics lets a folder be opened at all.
  UniqueFile file(::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) return LongPathForm(path);
  wchar_t buffer[MAX_PATH] = {};
  const DWORD length = ::GetFinalPathNameByHandleW(file.get(), buffer, MAX_PATH, FILE_NAME_NORMALIZED);
  if (length == 0 || length >= MAX_PATH) return LongPathForm(path);
  std::wstring_view real(buffer, length);
  if (real.starts_with(L"\\\\?\\")) real.remove_prefix(4);
  return NormalizePath(real);
}

}  // namespace oru
