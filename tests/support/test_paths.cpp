#include "support/test_paths.h"

#include <windows.h>

namespace oru::test {

std::wstring BinDir() {
  wchar_t path[MAX_PATH * 4] = {};
  ::GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
  std::wstring dir(path);
  return dir.substr(0, dir.rfind(L'\\'));
}

std::wstring BinFile(const std::wstring& name) { return BinDir() + L"\\" + name; }

}  // namespace oru::test
