#include "remove/pending_renames.h"

#include <windows.h>

#include <algorithm>

namespace oru::test {

std::vector<std::wstring> PendingRebootOperations() {
  std::vector<std::wstring> sources;
  DWORD bytes = 0;
  const wchar_t* key = L"System\\CurrentControlSet\\Control\\Session Manager";
  const wchar_t* value = L"PendingFileRenameOperations";
  if (::RegGetValueW(HKEY_LOCAL_MACHINE, key, value, RRF_RT_REG_MULTI_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) {
    return sources;
  }
  std::wstring data(bytes / sizeof(wchar_t) + 1, L'\0');
  if (::RegGetValueW(HKEY_LOCAL_MACHINE, key, value, RRF_RT_REG_MULTI_SZ, nullptr, data.data(), &bytes) !=
      ERROR_SUCCESS) {
    return sources;
  }
  // Sources and destinations alternate; a deletion's destination is empty.
  // Membership is all the tests ask about, so every non-empty string counts.
  constexpr std::wstring_view kNtPrefix = L"\\??\\";
  for (size_t at = 0; at < data.size();) {
    size_t end = data.find(L'\0', at);
    if (end == std::wstring::npos) end = data.size();
    std::wstring item = data.substr(at, end - at);
    if (item.starts_with(kNtPrefix)) item.erase(0, kNtPrefix.size());
    if (!item.empty()) sources.push_back(item);
    at = end + 1;
  }
  return sources;
}

bool IsPendingDeletion(const std::wstring& path) {
  const auto sources = PendingRebootOperations();
  return std::any_of(sources.begin(), sources.end(),
                     [&](const std::wstring& s) { return ::lstrcmpiW(s.c_str(), path.c_str()) == 0; });
}

}  // namespace oru::test
