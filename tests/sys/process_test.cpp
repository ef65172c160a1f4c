#include "sys/process.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::ChildProcess;
using test::CopyHelperAs;
using test::LogCapture;
using test::TempDir;

constexpr wchar_t kApp[] = L"oru.stravo.exe";

TEST(ProcessTest, FindsARunningProcessByItsExactName) {
  TempDir dir;
  ChildProcess app = ChildProcess::Sleeper(CopyHelperAs(dir.Child(kApp)));
  ASSERT_TRUE(app.Running());
  LogCapture log;

  EXPECT_TRUE(IsProcessRunning(kApp));
  EXPECT_TRUE(log.Has(L"Checking if process is running: oru.stravo.exe"));
  EXPECT_TRUE(log.Has(L"Process found running: oru.stravo.exe"));
  // No prefix, suffix or path matches, and an empty name matches nothing.
  EXPECT_FALSE(IsProcessRunning(L"oru.stravo"));
  EXPECT_FALSE(IsProcessRunning(L"oru.stravo.exe.exe"));
  EXPECT_FALSE(IsProcessRunning(dir.Child(kApp)));
  EXPECT_FALSE(IsProcessRunning(L""));
  EXPECT_TRUE(log.Has(L"Process not running: oru.stravo"));
}

TEST(ProcessTest, UpperCaseImageNameIsADifferentProcess) {
  TempDir dir;
  ChildProcess upper = ChildProcess::Sleeper(CopyHelperAs(dir.Child(L"ORU.STRAVO.EXE")));
  ASSERT_TRUE(upper.Running());
  ASSERT_TRUE(IsProcessRunning(L"ORU.STRAVO.EXE"));

  EXPECT_FALSE(IsProcessRunning(kApp));
  EXPECT_FALSE(KillProcess(kApp));
  EXPECT_TRUE(upper.Running());
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

  EXPECT_FALSE(first.Running());
  EXPECT_FALSE(second.Running());
  EXPECT_EQ(log.Count(L"Successfully killed process: oru.stravo.exe"), 2u);
  EXPECT_FALSE(log.Has(L"Process not found for killing: oru.stravo.exe"));
  // One 1000 ms wait for the whole kill, not one per process.
  EXPECT_GE(elapsed, 990u);
  EXPECT_LT(elapsed, 1900u);
  EXPECT_FALSE(IsProcessRunning(kApp));
}

TEST(ProcessTest, NothingToKillIsAFailure) {
  LogCapture log;
  EXPECT_FALSE(KillProcess(kApp));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"Attempting to kill process: oru.stravo.exe",
                                                    L"Process not found for killing: oru.stravo.exe"}));
}

TEST(ProcessTest, InstanceThatCannotBeOpenedIsSkipped) {
  TempDir dir;
  ChildProcess guarded = ChildProcess::Sleeper(CopyHelperAs(dir.Child(kApp)));
  ASSERT_TRUE(guarded.Running());
  ASSERT_TRUE(guarded.DenyOpenByOthers());
  LogCapture log;

  EXPECT_FALSE(KillProcess(kApp));

  EXPECT_TRUE(guarded.Running());
  const long failedOpen = log.IndexOf(L"Failed to open process for termination: oru.stravo.exe");
  ASSERT_GE(failedOpen, 0);
  EXPECT_GT(log.IndexOf(L"Process not found for killing: oru.stravo.exe"), failedOpen);
}

}  // namespace
}  // namespace oru
