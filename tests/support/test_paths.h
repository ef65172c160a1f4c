#pragma once

#include <windows.h>
#include <shlobj.h>

#include <string>

namespace oru::test {

// The folder holding the running test program, and beside it the
// uninstaller, the helper process and the stand-ins.
[[nodiscard]] inline std::wstring BinDir() {
  wchar_t path[MAX_PATH * 4] = {};
  ::GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
  const std::wstring dir(path);
  return dir.substr(0, dir.rfind(L'\\'));
}
[[nodiscard]] inline std::wstring BinFile(const std::wstring& name) { return BinDir() + L"\\" + name; }

// %TEMP% and %LOCALAPPDATA% of the test prefix, without a trailing backslash.
[[nodiscard]] inline std::wstring TempFolder() {
  wchar_t temp[MAX_PATH] = {};
  return std::wstring(temp, ::GetTempPathW(MAX_PATH, temp) - 1);
}
[[nodiscard]] inline std::wstring LocalAppData() {
  wchar_t path[MAX_PATH] = {};
  ::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
  return path;
}

}  // namespace oru::test
