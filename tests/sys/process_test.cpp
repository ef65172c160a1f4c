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

// Only the exact image name matches: not its upper-case form, a prefix, a
// suffix, a path or nothing at all. An instance that cannot be opened is
// passed over, so nothing is killed.
TEST(ProcessTest, OnlyTheExactImageNameMatchesAndAnInstanceThatCannotBeOpenedIsSkipped) {
  TempDir dir;
  ChildProcess upper = ChildProcess::Sleeper(CopyHelperAs(dir.MakeDir(L"upper") + L"\\ORU.STRAVO.EXE"));
  ASSERT_TRUE(IsProcessRunning(L"ORU.STRAVO.EXE"));
  LogCapture log;
  EXPECT_FALSE(IsProcessRunning(kApp));
  EXPECT_FALSE(KillProcess(kApp));
  EXPECT_TRUE(upper.Running());
  EXPECT_EQ(log.Lines(),
            (std::vector<std::wstring>{
                L"Checking if process is running: oru.stravo.exe", L"Process not running: oru.stravo.exe",
                L"Attempting to kill process: oru.stravo.exe", L"Process not found for killing: oru.stravo.exe"}));

  ChildProcess guarded = ChildProcess::Sleeper(CopyHelperAs(dir.Child(kApp)));
  ASSERT_TRUE(guarded.DenyOpenByOthers());
  EXPECT_TRUE(IsProcessRunning(kApp));
  EXPECT_TRUE(log.Has(L"Process found running: oru.stravo.exe"));
  for (const std::wstring& other :
       {std::wstring(L"oru.stravo"), std::wstring(L"oru.stravo.exe.exe"), dir.Child(kApp), std::wstring()}) {
    EXPECT_FALSE(IsProcessRunning(other)) << WideToUtf8(other);
  }
  EXPECT_FALSE(KillProcess(kApp));
  EXPECT_TRUE(guarded.Running());
  const auto lines = log.Lines();
  EXPECT_EQ(std::vector(lines.end() - 3, lines.end()),
            (std::vector<std::wstring>{L"Attempting to kill process: oru.stravo.exe",
                                       L"Failed to open process for termination: oru.stravo.exe",
                                       L"Process not found for killing: oru.stravo.exe"}));
}

TEST(ProcessTest, KillsEveryInstanceThenWaitsOnce) {
  TempDir dir;
  const std::wstring exe = CopyHelperAs(dir.Child(kApp));
  ChildProcess first = ChildProcess::Sleeper(exe);
  ChildProcess second = ChildProcess::Sleeper(exe);
  ASSERT_TRUE(first.Running() && second.Running());
  LogCapture log;

  const DWORD start = ::GetTickCount();
  EXPECT_TRUE(KillProcess(kApp));
  const DWORD elapsed = ::GetTickCount() - start;

  EXPECT_FALSE(first.Running() || second.Running());
  EXPECT_EQ(log.Count(L"Successfully killed process: oru.stravo.exe"), 2u);
  // One 1000 ms wait for the whole kill, not one per process; the tick
  // count may read a little short of the time slept.
  EXPECT_GE(elapsed, 950u);
  EXPECT_LT(elapsed, 1900u);
}

}  // namespace
}  // namespace oru::test
