#include "sys/path_forms.h"

#include <windows.h>

#include <string_view>

#include "common/path_rules.h"
#include "common/unique_handle.h"

namespace oru {
namespace {

// The plain spelling of what the system answered through an extended path.
std::wstring WithoutExtendedPrefix(std::wstring_view path) {
  if (path.starts_with(kExtendedUncPrefix))
    return NormalizePath(L"\\\\" + std::wstring(path.substr(kExtendedUncPrefix.size())));
  if (path.starts_with(kExtendedPrefix)) path.remove_prefix(kExtendedPrefix.size());
  return NormalizePath(path);
}

// Calls `query(buffer, capacity)` with a buffer that grows to the size the
// system asks for; empty on failure.
template <typename Query>
std::wstring QueryPathText(Query query) {
  std::wstring buffer(MAX_PATH, L'\0');
  for (int attempt = 0; attempt < 3; ++attempt) {
    const DWORD length = query(buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) return {};
    if (length < buffer.size()) return buffer.substr(0, length);
    buffer.assign(length + 1, L'\0');
  }
  return {};
}

}  // namespace

std::wstring CanonicalPathForm(const std::wstring& path) {
  const std::wstring normal = NormalizePath(path);
  const std::wstring extended = ExtendedLengthPath(normal);
  // Without the prefix the path was not absolute, or held dot segments the
  // system would resolve in its own way: no form to compare.
  if (extended == normal) return {};
  const auto longForm = [](const std::wstring& spelling) {
    return QueryPathText(
        [&](wchar_t* buffer, DWORD capacity) { return ::GetLongPathNameW(spelling.c_str(), buffer, capacity); });
  };
  // The plain spelling while it fits: Wine spells out no short name behind
  // the extended prefix. Past MAX_PATH only the extended one can be asked.
  const std::wstring answer = normal.size() < MAX_PATH ? longForm(normal) : longForm(extended);
  return answer.empty() ? std::wstring() : WithoutExtendedPrefix(answer);
}

std::wstring RealPathForm(const std::wstring& path) {
  const std::wstring normal = NormalizePath(path);
  // No access rights asked: opening only to name the object. Backup
  // semantics lets a folder be opened at all.
  UniqueFile file(::CreateFileW(ExtendedLengthPath(normal).c_str(), 0,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) {
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? normal : std::wstring();
  }
  const std::wstring real = QueryPathText([&](wchar_t* buffer, DWORD capacity) {
    return ::GetFinalPathNameByHandleW(file.get(), buffer, capacity, FILE_NAME_NORMALIZED);
  });
  return real.empty() ? std::wstring() : WithoutExtendedPrefix(real);
}

}  // namespace oru
