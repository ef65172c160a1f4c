// A helper process for tests that need something real in the process list or
// a file really held open by another process:
//   helper_proc hold <file> <event>   open <file> with no sharing, signal
//                                     <event>, then wait to be killed
//   helper_proc sleep <ms> [<event>]  signal <event> if given, sleep, exit 0
//   helper_proc exit <code>           exit at once with <code>
// Copied under another name (oru.stravo.exe, setup.exe) it shows in the
// process list under that name.

#include <windows.h>
#include <shellapi.h>

#include <cwchar>
#include <string>

#include "common/unique_handle.h"

namespace {

void Signal(const wchar_t* name) {
  const oru::UniqueHandle event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, name));
  if (event) ::SetEvent(event.get());
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  int argc = 0;
  wchar_t** argv = ::CommandLineToArgvW(::GetCommandLineW(), &argc);
  if (argv == nullptr || argc < 3) return 2;
  const std::wstring mode = argv[1];
  if (mode == L"hold" && argc >= 4) {
    HANDLE file =
        ::CreateFileW(argv[2], GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 3;
    Signal(argv[3]);
    ::Sleep(INFINITE);
    return 0;
  }
  if (mode == L"sleep") {
    if (argc >= 4) Signal(argv[3]);
    ::Sleep(static_cast<DWORD>(std::wcstoul(argv[2], nullptr, 10)));
    return 0;
  }
  if (mode == L"exit") return static_cast<int>(std::wcstoul(argv[2], nullptr, 10));
  return 2;
}
