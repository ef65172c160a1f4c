#include "sys/system_directory.h"

#include <windows.h>

#include "common/strings.h"

namespace oru {

std::wstring SystemDirectoryFile(std::wstring_view name) {
  wchar_t buffer[MAX_PATH] = {};
  const UINT length = ::GetSystemDirectoryW(buffer, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return {};
  return JoinWide({std::wstring_view(buffer, length), L"\\", name});
}

}  // namespace oru
