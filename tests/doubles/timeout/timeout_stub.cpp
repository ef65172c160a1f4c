// Stands in for the system's timeout.exe, which Wine lacks: there the
// self-deleting script's wait would end at once and the script would race
// the uninstaller it waits for. Installed as system32\timeout.exe in test
// prefixes only; "timeout /t N ..." sleeps N seconds, as on Windows, or
// 1/d of that when ORU_FAULT_SLEEP_DIVISOR=d shortens every wait of a run.
// Test code only; never shipped.

#include <windows.h>

#include <cwchar>

int wmain(int argc, wchar_t** argv) {
  wchar_t divisor[16] = {};
  ::GetEnvironmentVariableW(L"ORU_FAULT_SLEEP_DIVISOR", divisor, 16);
  const DWORD shorter = std::wcstoul(divisor, nullptr, 10);
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::wcscmp(argv[i], L"/t") == 0 || std::wcscmp(argv[i], L"/T") == 0) {
      ::Sleep(static_cast<DWORD>(std::wcstoul(argv[i + 1], nullptr, 10)) * 1000 / (shorter > 0 ? shorter : 1));
    }
  }
  return 0;
}
