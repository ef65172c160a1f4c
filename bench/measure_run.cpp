// measure_run <repeat> <command-line file> [<sample ms>]
// Starts the command line held in the file (UTF-8, one line) <repeat> times,
// one run after the other, each from its program's own folder, as a shell
// would start an uninstaller. Prints one line of key=value figures:
//   wall_ms     from the first CreateProcessW to the last exit, all runs
//   exit        the last run's exit code
//   peak_ws     highest PeakWorkingSetSize of any run, in bytes
//   peak_commit highest PeakPagefileUsage (private commit) of any run, bytes
//   samples     how many memory readings were taken
// The peaks are read on the process handle once the child has exited and,
// when <sample ms> is given, also every <sample ms> while it runs: a system
// that forgets a process's counters at exit still yields the highest reading
// taken before. Sampling costs time, so leave it out when timing matters.

#include <windows.h>
// After windows.h, which they need.
#include <psapi.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

bool ReadCommandLine(const wchar_t* path, std::wstring& commandLine) {
  HANDLE file = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  char buffer[8192] = {};
  DWORD got = 0;
  const BOOL read = ::ReadFile(file, buffer, sizeof(buffer) - 1, &got, nullptr);
  ::CloseHandle(file);
  if (!read) return false;
  std::string utf8(buffer, got);
  while (!utf8.empty() && (utf8.back() == '\n' || utf8.back() == '\r')) utf8.pop_back();
  const int length = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  commandLine.assign(static_cast<size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), commandLine.data(), length);
  return !commandLine.empty();
}

std::wstring ProgramFolder(const std::wstring& commandLine) {
  int argc = 0;
  wchar_t** argv = ::CommandLineToArgvW(commandLine.c_str(), &argc);
  if (argv == nullptr) return {};
  std::wstring program = argc > 0 ? argv[0] : L"";
  ::LocalFree(argv);
  const size_t slash = program.rfind(L'\\');
  return slash == std::wstring::npos ? std::wstring() : program.substr(0, slash);
}

struct Peaks {
  SIZE_T workingSet = 0;
  SIZE_T commit = 0;
  unsigned samples = 0;
};

void Sample(HANDLE process, Peaks& peaks) {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof(counters);
  if (!::GetProcessMemoryInfo(process, &counters, sizeof(counters))) return;
  peaks.workingSet = std::max(peaks.workingSet, counters.PeakWorkingSetSize);
  peaks.commit = std::max(peaks.commit, counters.PeakPagefileUsage);
  ++peaks.samples;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 3 && argc != 4) {
    std::fwprintf(stderr, L"usage: measure_run <repeat> <command-line file> [<sample ms>]\n");
    return 2;
  }
  const unsigned repeat = static_cast<unsigned>(std::wcstoul(argv[1], nullptr, 10));
  std::wstring commandLine;
  if (repeat == 0 || !ReadCommandLine(argv[2], commandLine)) {
    std::fwprintf(stderr, L"measure_run: no command line in %ls\n", argv[2]);
    return 2;
  }
  const std::wstring folder = ProgramFolder(commandLine);
  const DWORD sampleMs = argc == 4 ? static_cast<DWORD>(std::wcstoul(argv[3], nullptr, 10)) : 0;
  const DWORD waitMs = sampleMs == 0 ? INFINITE : sampleMs;

  LARGE_INTEGER frequency{}, start{}, end{};
  ::QueryPerformanceFrequency(&frequency);
  Peaks peaks;
  DWORD exitCode = 0;
  ::QueryPerformanceCounter(&start);
  for (unsigned run = 0; run < repeat; ++run) {
    std::wstring mutableLine = commandLine;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info{};
    if (!::CreateProcessW(nullptr, mutableLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                          folder.empty() ? nullptr : folder.c_str(), &startup, &info)) {
      std::fwprintf(stderr, L"measure_run: CreateProcessW failed, error %lu\n", ::GetLastError());
      return 3;
    }
    ::CloseHandle(info.hThread);
    while (::WaitForSingleObject(info.hProcess, waitMs) == WAIT_TIMEOUT) Sample(info.hProcess, peaks);
    Sample(info.hProcess, peaks);
    ::GetExitCodeProcess(info.hProcess, &exitCode);
    ::CloseHandle(info.hProcess);
  }
  ::QueryPerformanceCounter(&end);
  const double ms =
      static_cast<double>(end.QuadPart - start.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
  std::printf("wall_ms=%.1f exit=%lu peak_ws=%llu peak_commit=%llu samples=%u\n", ms, exitCode,
              static_cast<unsigned long long>(peaks.workingSet), static_cast<unsigned long long>(peaks.commit),
              peaks.samples);
  return 0;
}
