// delete_tree_bench <dir>: removes dir with DeleteDirectoryTree exactly as the
// uninstaller does, with its log file open and its events queued, and prints
// the time spent inside the call in milliseconds.

#include <windows.h>

#include <cstdio>
#include <string>

#include "log/setup_logger.h"
#include "remove/directory_tree.h"
#include "telemetry/event_reporter.h"

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fwprintf(stderr, L"usage: delete_tree_bench <dir>\n");
    return 2;
  }
  oru::InitSetupLog(L"delete_tree_bench.log", L"== delete_tree_bench ==");
  LARGE_INTEGER frequency{}, start{}, end{};
  ::QueryPerformanceFrequency(&frequency);
  ::QueryPerformanceCounter(&start);
  const bool removed = oru::DeleteDirectoryTree(argv[1]);
  ::QueryPerformanceCounter(&end);
  const double ms =
      static_cast<double>(end.QuadPart - start.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
  std::printf("%.1f ms, %zu events queued, result %s\n", ms, oru::EventReporter::GetInstance().PendingEvents().size(),
              removed ? "true" : "false");
  (void)oru::CloseLogFile();
  return removed ? 0 : 1;
}
