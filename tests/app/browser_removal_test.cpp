#include "app/browser_removal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "common/strings.h"
#include "support/log_capture.h"

namespace oru::test {
namespace {

// Every row of the exit-code table, read as the log shows it, but those an
// end-to-end run reads (19, 60, 333); a code outside the table is "others",
// whatever its value. Only 20 goes on to the clean-up, which without an
// installation stops at once.
TEST(BrowserRemovalTest, EveryExitCodeLogsItsOwnLinesAndOnly20CleansUp) {
  const std::wstring cleanup = L"Checking installation directory status to determine if cleanup is needed";
  const std::vector<std::pair<std::uint32_t, std::vector<std::wstring>>> rows = {
      {10, {L"Operating system API call failed"}},
      {14, {L"Insufficient user permissions"}},
      {15, {L"Chrome is not installed!"}},
      {16, {L"Chrome is running!"}},
      {17, {L"User has confirmed the uninstallation of Chrome!"}},
      {18, {L"User has confirmed uninstalling Chrome and deleting the configuration file!"}},
      {20, {L"chrome 卸载失败", cleanup}},
      {21, {L"User cancels Chrome uninstallation!"}},
      {22, {L"I don't know what happened (it shouldn't have happened)"}},
      {29, {L"Uninstallation requires a restart"}},
      {23, {L"Others exit code!!!"}},
  };
  UninstallContext context(false, true, false, true);
  for (const auto& [code, lines] : rows) {
    LogCapture log;
    InterpretExitCode(context, code);
    std::vector<std::wstring> logged = log.Lines(), expected{L"setup.exe exitCode: " + ToWideDecimal(code)};
    expected.insert(expected.end(), lines.begin(), lines.end());
    EXPECT_EQ(logged.size() > expected.size(), code == 20) << code;
    logged.resize(std::min(logged.size(), expected.size()));
    EXPECT_EQ(logged, expected) << code;
  }
}

}  // namespace
}  // namespace oru::test
