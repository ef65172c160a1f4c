#include "common/path_rules.h"

#include <algorithm>

#include "common/strings.h"

namespace oru {
namespace {

constexpr std::wstring_view kForbiddenNameCharacters = L"\\/:*?\"<>|";

bool IsDriveLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

// One segment of a path: a plain name, and not one the system would read as
// something else ("C:\a." opens "C:\a"; "a:b" is a stream of "a").
bool IsPlainSegment(std::wstring_view segment) {
  if (segment.empty() || segment == L"." || segment == L"..") return false;
  if (segment.back() == L'.' || segment.back() == L' ') return false;
  for (const wchar_t c : segment) {
    if (c < 0x20 || kForbiddenNameCharacters.find(c) != std::wstring_view::npos) return false;
  }
  return true;
}

}  // namespace

std::wstring NormalizePath(std::wstring_view path) {
  std::wstring normal(path);
  std::replace(normal.begin(), normal.end(), L'/', L'\\');
  while (!normal.empty() && normal.back() == L'\\') normal.pop_back();
  return normal;
}

std::wstring_view AbsoluteLocalPathRefusal(std::wstring_view path) {
  if (path.empty()) return L"the path is empty";
  if (path.starts_with(L"\\\\")) return L"device and network paths are not an installation";
  if (path.size() < 2 || !IsDriveLetter(path[0]) || path[1] != L':') return L"the path is not absolute";
  if (path.size() == 2) return L"a drive root is not an installation";
  if (path[2] != L'\\') return L"the path is relative to a drive's current directory";
  std::wstring_view rest = path.substr(3);
  while (true) {
    const size_t separator = rest.find(L'\\');
    if (!IsPlainSegment(rest.substr(0, separator))) return L"the path has an empty, dot or irregular segment";
    if (separator == std::wstring_view::npos) return {};
    rest.remove_prefix(separator + 1);
  }
}

std::wstring ExtendedLengthPath(std::wstring_view path) {
  const bool drive = path.size() >= 3 && IsDriveLetter(path[0]) && path[1] == L':' && path[2] == L'\\';
  const bool unc = path.starts_with(L"\\\\") && !path.starts_with(kExtendedPrefix) && !path.starts_with(L"\\\\.\\");
  if ((!drive && !unc) || path.find(L'/') != std::wstring_view::npos) return std::wstring(path);
  for (size_t start = unc ? 2 : 0; start <= path.size();) {
    const size_t end = std::min(path.find(L'\\', start), path.size());
    const std::wstring_view segment = path.substr(start, end - start);
    // "a\\b" is "a\b" to the system but not behind the prefix.
    const bool emptyInside = segment.empty() && end < path.size();
    if (segment == L"." || segment == L".." || emptyInside) return std::wstring(path);
    start = end + 1;
  }
  return drive ? JoinWide({kExtendedPrefix, path}) : JoinWide({kExtendedUncPrefix, path.substr(2)});
}

bool IsPlainFolderName(std::wstring_view name) { return IsPlainSegment(name); }

bool IsSameOrInside(std::wstring_view path, std::wstring_view directory) {
  if (directory.empty() || path.size() < directory.size()) return false;
  if (!EqualsIgnoreCase(path.substr(0, directory.size()), directory)) return false;
  return path.size() == directory.size() || path[directory.size()] == L'\\';
}

}  // namespace oru
