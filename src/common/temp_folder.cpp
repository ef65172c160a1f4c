#include "common/temp_folder.h"

#include <windows.h>

namespace oru {

std::wstring SystemTempFolder() {
  wchar_t buffer[MAX_PATH] = {};
  const DWORD length = ::GetTempPathW(MAX_PATH, buffer);
  if (length == 0 || length >= MAX_PATH) return {};
  std::wstring folder(buffer, length);
  while (!folder.empty() && folder.back() == L'\\') folder.pop_back();
  return folder;
}

}  // namespace oru
