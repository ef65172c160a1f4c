// delete_tree_floor <dir>: removes dir with nothing but the Win32 calls any
// tree deletion must make (FindFirstFileW, DeleteFileW, RemoveDirectoryW), no
// log, no events, no fallbacks, and prints the time spent in milliseconds the
// way delete_tree_bench does. What DeleteDirectoryTree costs beyond this is
// its own overhead; the generated trees hold no links or locked files.

#include <windows.h>

#include <cstdio>
#include <string>

#include "common/unique_handle.h"

namespace {

bool RemoveTree(const std::wstring& dir) {
  WIN32_FIND_DATAW entry{};
  oru::UniqueFind find(::FindFirstFileW((dir + L"\\*").c_str(), &entry));
  if (!find) return false;
  bool removed = true;
  do {
    const std::wstring_view name = entry.cFileName;
    if (name == L"." || name == L"..") continue;
    const std::wstring child = dir + L"\\" + entry.cFileName;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      removed = RemoveTree(child) && removed;
    } else {
      removed = ::DeleteFileW(child.c_str()) && removed;
    }
  } while (::FindNextFileW(find.get(), &entry));
  find.reset();
  return ::RemoveDirectoryW(dir.c_str()) && removed;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fwprintf(stderr, L"usage: delete_tree_floor <dir>\n");
    return 2;
  }
  LARGE_INTEGER frequency{}, start{}, end{};
  ::QueryPerformanceFrequency(&frequency);
  ::QueryPerformanceCounter(&start);
  const bool removed = RemoveTree(argv[1]);
  ::QueryPerformanceCounter(&end);
  const double ms =
      static_cast<double>(end.QuadPart - start.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
  std::printf("%.1f ms, result %s\n", ms, removed ? "true" : "false");
  return removed ? 0 : 1;
}
