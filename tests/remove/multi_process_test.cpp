#include "remove/multi_process.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"
#include "sys/process.h"

namespace oru {
namespace {

using test::Exists;
using test::LogCapture;
using test::TempDir;

std::wstring Quoted(const std::wstring& path) { return L"\"" + path + L"\""; }

// The real cmd.exe, on a read-only file (the last resort must not stop at
// that) whose path has an apostrophe cmd copes with; the folder the file
// deletion emptied goes too, and the climb stops at ours.
TEST(DeleteMultiProcess, CmdDeletesFileOrTreeAndPowerShellNeverStarts) {
  TempDir dir;
  dir.WriteFile(L"keep.txt");
  const std::wstring file = dir.WriteFile(L"sub\\it's.txt");
  ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
  dir.WriteFile(L"tree\\a\\b\\f.txt");
  LogCapture log;
  EXPECT_TRUE(DeleteFileMultiProcess(file));
  DeleteDirectoryMultiProcess(dir.Child(L"tree"));
  EXPECT_FALSE(Exists(dir.Child(L"sub")));
  EXPECT_FALSE(Exists(dir.Child(L"tree")));
  EXPECT_TRUE(Exists(dir.Child(L"keep.txt")));
  EXPECT_FALSE(log.HasFragment(L"PowerShell"));
}

// A child's success is not believed while the target remains; a child that
// hangs is terminated at its time-out.
TEST(RunDeletionWithChildProcesses, FirstChildIsCheckedOnTheFileSystemAndAHangingOneTerminated) {
  TempDir dir;
  const std::wstring target = dir.WriteFile(L"target.txt");
  const std::wstring hangName = L"hang_" + std::to_wstring(::GetCurrentProcessId()) + L".exe";
  const std::wstring hanging = test::CopyHelperAs(dir.Child(hangName));
  const std::wstring first = Quoted(test::BinFile(L"helper_proc.exe")) + L" exit 0";
  const std::wstring second = Quoted(hanging) + L" sleep 60000";
  LogCapture log;
  const DWORD started = ::GetTickCount();
  EXPECT_FALSE(RunDeletionWithChildProcesses(first, second, target, 3000, kDeleteFileOperation));
  EXPECT_LT(::GetTickCount() - started, 10000u);
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{
                             L"Attempting to delete file using child process: " + target,
                             L"Executing command: " + first, L"Child process successfully delete file",
                             L"Child process reported success but target still exists: " + target,
                             L"Trying PowerShell delete file method", L"Executing PowerShell command: " + second,
                             L"Child process timed out, terminating it",
                             L"All multi-process delete file methods failed for: " + target}));
  // Termination is not waited for; give it a moment to leave the list.
  for (int i = 0; i < 20 && IsProcessRunning(hangName); ++i) ::Sleep(100);
  EXPECT_FALSE(IsProcessRunning(hangName));
  // A child that cannot start fails the same way.
  EXPECT_EQ(RunChildProcess(L"C:\\no\\such\\program.exe", 5000, kDeleteFileOperation), kChildFailed);
}

TEST(DeleteEmptyParentDirectory, ClimbsUntilTheFirstFolderThatHoldsSomething) {
  TempDir dir;
  dir.MakeDir(L"a\\b\\c");
  dir.WriteFile(L"a\\keep.txt");
  LogCapture log;
  DeleteEmptyParentDirectory(dir.Child(L"a\\b\\c\\deleted.txt"));
  EXPECT_FALSE(Exists(dir.Child(L"a\\b")));
  EXPECT_TRUE(Exists(dir.Child(L"a\\keep.txt")));
  EXPECT_EQ(log.Lines().back(), L"Parent directory is not empty, skipping deletion: " + dir.Child(L"a"));
  // A bare file name has no folder to climb from.
  DeleteEmptyParentDirectory(L"setup.exe");
  EXPECT_EQ(log.Lines().back(), L"No parent directory found for file: setup.exe");
}

}  // namespace
}  // namespace oru
