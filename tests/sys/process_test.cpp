#include "sys/process.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/strings.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru::test {
namespace {

constexpr wchar_t kApp[] = L"oru.stravo.exe";

// Only the exact image name matches. Every instance is killed, with one wait
// for them all; a process list that cannot be read, and instances that will
// not be opened or will not die, are each said, nothing counting as killed.
TEST(ProcessTest, KillsEveryInstanceOfTheExactNameThenWaitsOnce) {
  TempDir dir;
  const std::wstring exe = CopyHelperAs(dir.Child(kApp));
  ChildProcess first = ChildProcess::Sleeper(exe), second = ChildProcess::Sleeper(exe);
  ChildProcess upper = ChildProcess::Sleeper(CopyHelperAs(dir.MakeDir(L"upper") + L"\\ORU.STRAVO.EXE"));
  ASSERT_TRUE(IsProcessRunning(L"ORU.STRAVO.EXE") && IsProcessRunning(kApp));
  for (const std::wstring& other :
       {std::wstring(L"oru.stravo"), std::wstring(L"oru.stravo.exe.exe"), dir.Child(kApp), std::wstring()}) {
    EXPECT_FALSE(IsProcessRunning(other)) << WideToUtf8(other);
  }
  const std::wstring kill = L"Attempting to kill process: oru.stravo.exe";
  EXPECT_EQ(
      LinesUnder({{L"CreateToolhelp32Snapshot", ERROR_NOT_ENOUGH_MEMORY}},
                 [] { EXPECT_FALSE(IsProcessRunning(kApp) || KillProcess(kApp)); }),
      (std::vector<std::wstring>{L"Checking if process is running: oru.stravo.exe",
                                 L"Failed to create process snapshot.", kill, L"Failed to create process snapshot."}));
  for (const auto& [function, text] : {std::pair{L"OpenProcess", L"Failed to open process for termination: "},
                                       std::pair{L"TerminateProcess", L"Failed to terminate process: "}}) {
    const std::wstring line = text + std::wstring(kApp);
    EXPECT_EQ(LinesUnder({{function, ERROR_ACCESS_DENIED}}, [] { EXPECT_FALSE(KillProcess(kApp)); }),
              (std::vector<std::wstring>{kill, line, line, L"Process not found for killing: oru.stravo.exe"}));
  }
  ASSERT_TRUE(first.Running() && second.Running());
  LogCapture log;

  const DWORD start = ::GetTickCount();
  EXPECT_TRUE(KillProcess(kApp));
  const DWORD elapsed = ::GetTickCount() - start;

  EXPECT_FALSE(first.Running() || second.Running() || IsProcessRunning(kApp));
  EXPECT_TRUE(upper.Running());
  EXPECT_EQ(log.Count(L"Successfully killed process: oru.stravo.exe"), 2u);
  // One 1000 ms wait for the whole kill, not one per process; the tick
  // count may read a little short of the time slept.
  EXPECT_GE(elapsed, 950u);
  EXPECT_LT(elapsed, 1900u);
}

}  // namespace
}  // namespace oru::test
