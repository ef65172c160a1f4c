#include "remove/multi_process.h"

#include <gtest/gtest.h>

#include "common/strings.h"

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"
#include "sys/child_process.h"
#include "sys/process.h"
#include "sys/system_directory.h"

namespace oru::test {
namespace {

std::wstring Quoted(const std::wstring& path) { return L"\"" + path + L"\""; }

// Children start only in a working folder of the run's own.
struct RunWorkingFolder {
  TempDir dir;
  RunWorkingFolder() { SetChildWorkingDirectory(dir.path()); }
  ~RunWorkingFolder() { SetChildWorkingDirectory({}); }
};

// Nothing a search path, AutoRun, a profile, "!", a wildcard or an apostrophe
// could redirect.
TEST(DeletionCommands, SystemProgramsByFullPathWithTheirSafetySwitches) {
  const std::wstring cmd = Quoted(SystemDirectoryFile(L"cmd.exe"));
  const std::wstring ps = Quoted(SystemDirectoryFile(L"WindowsPowerShell\\v1.0\\powershell.exe"));
  const DeletionCommands file = FileDeletionCommands(L"C:\\a\\it's [1].txt");
  EXPECT_EQ(file.cmd, cmd + L" /D /V:OFF /C del /F /Q \"\\\\?\\C:\\a\\it's [1].txt\"");
  EXPECT_EQ(file.powerShell, ps + L" -NoProfile -NonInteractive -Command \"Remove-Item -LiteralPath "
                                  L"'C:\\a\\it''s [1].txt' -Force\"");
  const DeletionCommands dir = DirectoryDeletionCommands(L"C:\\a\\nul");
  EXPECT_EQ(dir.cmd, cmd + L" /D /V:OFF /C rmdir /S /Q \"\\\\?\\C:\\a\\nul\"");
  EXPECT_EQ(dir.powerShell,
            ps + L" -NoProfile -NonInteractive -Command \"Remove-Item -LiteralPath 'C:\\a\\nul' -Recurse -Force\"");
}

// Only a quoted absolute program starts, and cmd is never handed a "%".
TEST(ChildCommandRefusal, SearchedProgramsAndPercentForCmdAreRefused) {
  const std::wstring cmd = Quoted(SystemDirectoryFile(L"cmd.exe"));
  for (const std::wstring& line : {cmd + L" /D /C del \"C:\\a\\b\"", Quoted(L"C:\\x\\setup.exe") + L" --p=%TEMP%"}) {
    EXPECT_EQ(ChildCommandRefusal(line), L"") << WideToUtf8(line);
  }
  for (const std::wstring& line : {std::wstring(L"cmd.exe /C del x"), Quoted(L"cmd.exe") + L" /C x",
                                   Quoted(L"..\\cmd.exe") + L" /C x", std::wstring(L"\"C:\\unclosed /C x"),
                                   cmd + L" /D /C del \"C:\\a\\%TEMP%\"", Quoted(L"C:\\x\\CMD.EXE") + L" /C %x%"}) {
    EXPECT_NE(ChildCommandRefusal(line), L"") << WideToUtf8(line);
  }
}

// The real cmd.exe, on a read-only file (the last resort must not stop at
// that) whose path has an apostrophe cmd copes with; the folders the file
// deletion emptied go too, and the climb stops at the first that holds something.
TEST(DeleteMultiProcess, CmdDeletesTheFileAndTheFoldersItEmptiedAndPowerShellNeverStarts) {
  RunWorkingFolder working;
  TempDir dir;
  dir.WriteFile(L"keep.txt");
  const std::wstring file = dir.WriteFile(L"sub\\deeper\\it's.txt");
  ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
  LogCapture log;
  EXPECT_TRUE(DeleteFileMultiProcess(file));
  EXPECT_FALSE(Exists(dir.Child(L"sub")));
  EXPECT_TRUE(Exists(dir.Child(L"keep.txt")));
  EXPECT_FALSE(log.HasFragment(L"PowerShell"));
}

// Each outcome of either child, in the lines that tell it: a success is
// believed only once the target has gone, a child that hangs is terminated
// at its time-out, one that cannot start is passed over.
TEST(RunDeletionWithChildProcesses, EachChildsOutcomeIsCheckedOnTheFileSystem) {
  RunWorkingFolder working;
  TempDir dir;
  const std::wstring target = dir.Child(L"target.txt");
  const std::wstring hangName = L"hang_" + std::to_wstring(::GetCurrentProcessId()) + L".exe";
  const std::wstring hang = Quoted(CopyHelperAs(dir.Child(hangName))) + L" sleep 60000";
  const auto exits = [](int code) { return Quoted(BinFile(L"helper_proc.exe")) + L" exit " + std::to_wstring(code); };
  const std::wstring deletes = SystemCmdCommandLine(L"del /F /Q " + Quoted(target));
  const std::wstring remains = L"reported success but target still exists: " + target;
  const std::wstring failed = L"All multi-process delete file methods failed for: " + target;
  const auto row = [&](const std::wstring& cmd, const std::wstring& powerShell, const std::vector<Fault>& faults,
                       bool result, const std::vector<std::wstring>& lines) {
    dir.WriteFile(L"target.txt");
    const DWORD started = ::GetTickCount();
    const auto logged = LinesUnder(faults, [&] {
      EXPECT_EQ(RunDeletionWithChildProcesses(cmd, powerShell, target, 3000, kDeleteFileOperation), result);
    });
    EXPECT_TRUE(LinesInOrder(logged, lines));
    EXPECT_LT(::GetTickCount() - started, 10000u);
  };
  row(exits(0), hang, {}, false,
      {L"Attempting to delete file using child process: " + target, L"Executing command: " + exits(0),
       L"Child process successfully delete file", L"Child process " + remains, L"Trying PowerShell delete file method",
       L"Executing PowerShell command: " + hang, L"Child process timed out, terminating it", failed});
  row(exits(3), exits(0), {}, false,
      {L"Child process failed with exit code: 3", L"PowerShell process successfully delete file",
       L"PowerShell process " + remains, failed});
  row(exits(0), exits(7), {}, false, {L"PowerShell process failed with exit code: 7", failed});
  row(exits(9), deletes, {}, true, {L"Target deletion verified using PowerShell: " + target});
  const std::wstring notStarted = L"Failed to create child process for delete file, error: 5";
  row(exits(0), exits(0), {{L"CreateProcessW", ERROR_ACCESS_DENIED}}, false, {notStarted, notStarted, failed});
  // Termination is not waited for; give it a moment to leave the list.
  for (int i = 0; i < 20 && IsProcessRunning(hangName); ++i) ::Sleep(100);
  EXPECT_FALSE(IsProcessRunning(hangName));
}

// Children stand in the run's empty folder, never in the uninstaller's own;
// without one, none starts.
TEST(RunChildProcess, RunsInTheRunsWorkingFolderAndNotWithoutOne) {
  TempDir out;
  const std::wstring command = SystemCmdCommandLine(L"cd > " + Quoted(out.Child(L"cwd.txt")));
  EXPECT_EQ(RunChildProcess(command, 5000, kDeleteFileOperation), kChildFailed);
  EXPECT_FALSE(Exists(out.Child(L"cwd.txt")));
  RunWorkingFolder working;
  EXPECT_EQ(RunChildProcess(command, 5000, kDeleteFileOperation), 0u);
  EXPECT_EQ(ReadFileBytes(out.Child(L"cwd.txt")), WideToUtf8(working.dir.path()) + "\r\n");
}

}  // namespace
}  // namespace oru::test
