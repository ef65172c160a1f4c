#include "remove/multi_process.h"

#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <algorithm>

#include "common/unique_handle.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru {
namespace {

using test::Exists;
using test::LogCapture;
using test::TempDir;

bool ProcessRunning(const std::wstring& imageName) {
  UniqueSnapshot snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  if (!snapshot || !::Process32FirstW(snapshot.get(), &entry)) return false;
  do {
    if (imageName == entry.szExeFile) return true;
  } while (::Process32NextW(snapshot.get(), &entry));
  return false;
}

std::wstring Quoted(const std::wstring& path) { return L"\"" + path + L"\""; }

// The target goes in as it is: an apostrophe ends PowerShell's quoted path
// early, while cmd's double quotes are unaffected.
TEST(DeletionCommands, TargetIsInsertedUnescaped) {
  const std::wstring path = L"C:\\Users\\O'Brien\\x.txt";
  const DeletionCommands file = FileDeletionCommands(path);
  EXPECT_EQ(file.cmd, L"cmd.exe /C del /F /Q \"C:\\Users\\O'Brien\\x.txt\"");
  EXPECT_EQ(file.powerShell, L"powershell.exe -Command \"Remove-Item -Path 'C:\\Users\\O'Brien\\x.txt' -Force\"");
  const DeletionCommands dir = DirectoryDeletionCommands(L"C:\\d");
  EXPECT_EQ(dir.cmd, L"cmd.exe /C rmdir /S /Q \"C:\\d\"");
  EXPECT_EQ(dir.powerShell, L"powershell.exe -Command \"Remove-Item -Path 'C:\\d' -Recurse -Force\"");
}

// Uses the real cmd.exe, on a path with an apostrophe that cmd copes with.
TEST(DeleteFileMultiProcess, CmdDeletesTheFileAndPowerShellNeverStarts) {
  TempDir dir;
  dir.WriteFile(L"keep.txt");
  const std::wstring file = dir.WriteFile(L"sub\\it's.txt");
  LogCapture log;
  EXPECT_TRUE(DeleteFileMultiProcess(file));
  EXPECT_FALSE(Exists(file));
  // The folder the deletion emptied goes too; the climb stops at ours.
  EXPECT_FALSE(Exists(dir.Child(L"sub")));
  EXPECT_TRUE(Exists(dir.Child(L"keep.txt")));
  const auto lines = log.Lines();
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(
      std::vector<std::wstring>(lines.begin(), lines.begin() + 4),
      (std::vector<std::wstring>{L"Attempting to delete file using child process: " + file,
                                 L"Executing command: cmd.exe /C del /F /Q " + Quoted(file),
                                 L"Child process successfully delete file", L"Target deletion verified: " + file}));
  EXPECT_FALSE(log.HasFragment(L"PowerShell"));
  EXPECT_TRUE(log.Has(L"Attempting to delete parent directory of: " + file));
}

// Both children exit 0 without deleting a locked file: only the check of
// the file system catches it.
TEST(DeleteFileMultiProcess, ChildSuccessIsNotBelievedWhileTheFileRemains) {
  TempDir dir;
  const std::wstring file = dir.WriteFile(L"locked.dat");
  test::ChildProcess holder = test::ChildProcess::HoldFile(file);
  ASSERT_TRUE(holder.Running());
  LogCapture log;
  EXPECT_FALSE(DeleteFileMultiProcess(file));
  EXPECT_TRUE(Exists(file));
  const std::vector<std::wstring> expectedInOrder = {
      L"Child process reported success but target still exists: " + file,
      L"Trying PowerShell delete file method",
      L"Executing PowerShell command: " + FileDeletionCommands(file).powerShell,
      L"PowerShell process reported success but target still exists: " + file,
      L"All multi-process delete file methods failed for: " + file,
  };
  long at = 0;
  for (const auto& line : expectedInOrder) {
    const long found = log.IndexOf(line, static_cast<size_t>(at));
    ASSERT_GE(found, at);
    at = found;
  }
  EXPECT_FALSE(log.HasFragment(L"parent directory"));
}

TEST(DeleteDirectoryMultiProcess, CmdRemovesTheWholeTree) {
  TempDir dir;
  const std::wstring tree = dir.MakeDir(L"tree\\a\\b");
  dir.WriteFile(L"tree\\a\\b\\f.txt");
  dir.WriteFile(L"tree\\g.txt");
  LogCapture log;
  DeleteDirectoryMultiProcess(dir.Child(L"tree"));
  EXPECT_FALSE(Exists(dir.Child(L"tree")));
  EXPECT_TRUE(log.Has(L"Executing command: cmd.exe /C rmdir /S /Q " + Quoted(dir.Child(L"tree"))));
  EXPECT_TRUE(log.Has(L"Target deletion verified: " + dir.Child(L"tree")));
}

TEST(RunChildProcess, ReturnsExitCodeOrFailureValue) {
  const std::wstring helper = Quoted(test::BinFile(L"helper_proc.exe"));
  LogCapture log;
  EXPECT_EQ(RunChildProcess(helper + L" exit 7", 5000, kDeleteFileOperation), 7u);
  EXPECT_EQ(RunChildProcess(L"Z:\\no\\such\\program.exe", 5000, kDeleteFileOperation), kChildFailed);
  EXPECT_TRUE(log.HasFragment(L"Failed to create child process for delete file, error: "));
}

// A child that hangs is terminated at its time-out and the second method
// still runs; a start failure or time-out adds no exit-code line.
TEST(RunDeletionWithChildProcesses, HangingChildIsTerminatedAndPowerShellTriedNext) {
  TempDir dir;
  const std::wstring target = dir.WriteFile(L"target.txt");
  const std::wstring hangName = L"hang_" + std::to_wstring(::GetCurrentProcessId()) + L".exe";
  const std::wstring hanging = test::CopyHelperAs(dir.Child(hangName));
  const std::wstring second = Quoted(test::BinFile(L"helper_proc.exe")) + L" exit 3";
  LogCapture log;
  const DWORD started = ::GetTickCount();
  EXPECT_FALSE(
      RunDeletionWithChildProcesses(Quoted(hanging) + L" sleep 60000", second, target, 500, kDeleteFileOperation));
  EXPECT_LT(::GetTickCount() - started, 10000u);
  // Termination is not waited for; give it a moment to leave the list.
  for (int i = 0; i < 20 && ProcessRunning(hangName); ++i) ::Sleep(100);
  EXPECT_FALSE(ProcessRunning(hangName));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{
                             L"Attempting to delete file using child process: " + target,
                             L"Executing command: " + Quoted(hanging) + L" sleep 60000",
                             L"Child process timed out, terminating it", L"Trying PowerShell delete file method",
                             L"Executing PowerShell command: " + second, L"PowerShell process failed with exit code: 3",
                             L"All multi-process delete file methods failed for: " + target}));
}

}  // namespace
}  // namespace oru
