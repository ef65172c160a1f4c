#include "common/strings.h"

#include <windows.h>

namespace oru {

std::string WideToUtf8(std::wstring_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int needed = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  if (needed <= 0) return {};
  std::string out(static_cast<size_t>(needed), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, out.data(), needed, nullptr, nullptr);
  return out;
}

std::wstring Utf8ToWide(std::string_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int needed = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  if (needed <= 0) return {};
  std::wstring out(static_cast<size_t>(needed), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, out.data(), needed);
  return out;
}

std::wstring JoinWide(std::initializer_list<std::wstring_view> parts) {
  size_t total = 0;
  for (auto part : parts) total += part.size();
  std::wstring out;
  out.reserve(total);
  for (auto part : parts) out.append(part);
  return out;
}

std::wstring_view FileNamePart(std::wstring_view path) {
  const size_t slash = path.rfind(L'\\');
  return slash == std::wstring_view::npos ? path : path.substr(slash + 1);
}

std::wstring_view FolderPart(std::wstring_view path) {
  const size_t slash = path.rfind(L'\\');
  return slash == std::wstring_view::npos ? std::wstring_view() : path.substr(0, slash);
}

bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b) {
  return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), TRUE) ==
         CSTR_EQUAL;
}

}  // namespace oru
