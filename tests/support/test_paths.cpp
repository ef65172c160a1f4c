#include "support/test_paths.h"

#include <windows.h>
#include <shlobj.h>

namespace oru::test {

std::wstring BinDir() {
  wchar_t path[MAX_PATH * 4] = {};
  ::GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
  std::wstring dir(path);
  return dir.substr(0, dir.rfind(L'\\'));
}

std::wstring BinFile(const std::wstring& name) { return BinDir() + L"\\" + name; }

std::wstring TempFolder() {
  wchar_t temp[MAX_PATH] = {};
  return std::wstring(temp, ::GetTempPathW(MAX_PATH, temp) - 1);
}

std::wstring LocalAppData() {
  wchar_t path[MAX_PATH] = {};
  ::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
  return path;
}

}  // namespace oru::test
