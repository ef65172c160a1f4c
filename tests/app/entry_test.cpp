#include "app/uninstaller_main.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "log/setup_logger.h"
#include "support/event_capture.h"
#include "support/log_capture.h"

namespace oru::test {
namespace {

// No place for the workspace (no drive answers a free-space query, as one
// that is not ready): each place says so, and the run ends with 1 before
// anything is removed, after its one failure event.
TEST(Entry, NoWorkspaceEndsTheRunWithOne) {
  EventCapture events;
  int exitCode = 0;
  const auto lines = LinesUnder({{L"GetDiskFreeSpaceExW", ERROR_NOT_READY}}, [&] { exitCode = RunUninstaller(); });
  // The log stays where the test's capture keeps it.
  SetupLogger::Instance().SetFinalLogPath({});
  EXPECT_EQ(exitCode, 1);
  const std::wstring notReady = L"GetDiskFreeSpaceEx() 失败，错误码: 21";
  EXPECT_TRUE(LinesInOrder(lines, {notReady, notReady, notReady, L"[ERROR] 无法创建临时目录，所有策略都失败",
                                   L"Failed to initialize temp directory manager"}));
  EXPECT_EQ(events.Events(),
            (std::vector<std::string>{
                "uninstall_started force_kill=false keep_user_data=false silent_chrome=true silent_oru=false",
                "uninstall_failed reason=temp_dir_init_failed"}));
}

}  // namespace
}  // namespace oru::test
