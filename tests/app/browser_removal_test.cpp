#include "app/browser_removal.h"

#include <gtest/gtest.h>

#include <vector>

#include "product_fixture.h"

namespace oru {
namespace {

using test::LogCapture;

// The stand-in exits late, so a runner that did not wait would read the
// "still active" code; the largest code must come back whole.
TEST(BrowserRemovalTest, RunWaitsForSetupAndPassesItsCommandLineUnchanged) {
  test::InstalledProduct product;
  product.InstallSetup();
  ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_EXIT_CODE", L"4294967295");
  ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_DELAY_MS", L"300");
  const std::wstring arguments = L"--uninstall --log-file=\"" + product.installPath + L"\\x.log\"";
  LogCapture log;

  EXPECT_EQ(RunBrowserUninstaller(product.setupPath, arguments), 4294967295u);

  const std::wstring commandLine = L"\"" + product.setupPath + L"\" " + arguments;
  EXPECT_EQ(product.Trace(), commandLine + L"\n");
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"cmdLine: " + commandLine,
                                                    L"Uninstall process started, waiting for it to finish...",
                                                    L"Uninstall process finished, exit code: 4294967295"}));
}

// Every code is logged first, then what it means: the busy line twice, on
// purpose; any code outside the table as "others". 20 also starts the cleanup
// of the installation directory, whose own first line names it. The codes the
// end-to-end runs meet (19, 21, 333) are checked there.
TEST(BrowserRemovalTest, ExitCodesAreExplained) {
  const struct {
    std::uint32_t code;
    std::vector<std::wstring> lines;
  } rows[] = {
      {kSetupAlreadyRunning, {L"setup.exe 被其他进程占用", L"setup.exe 被其他进程占用"}},
      {0, {L"Others exit code!!!"}},
      {4294967295u, {L"Others exit code!!!"}},
      {kBrowserUninstallFailed, {L"chrome 卸载失败"}},
  };
  UninstallContext context(false, true, false, true);
  context.install_path = L"C:\\P";
  context.pv = L"1.2.3";
  for (const auto& row : rows) {
    SCOPED_TRACE(row.code);
    LogCapture log;
    InterpretExitCode(context, row.code);
    std::vector<std::wstring> lines = log.Lines();
    std::vector<std::wstring> expected{L"setup.exe exitCode: " + ToWideDecimal(row.code)};
    expected.insert(expected.end(), row.lines.begin(), row.lines.end());
    if (row.code == kBrowserUninstallFailed) {
      ASSERT_GT(lines.size(), expected.size());
      EXPECT_NE(lines[expected.size()].find(L"cleanup"), std::wstring::npos) << WideToUtf8(lines[expected.size()]);
      lines.resize(expected.size());
    }
    EXPECT_EQ(lines, expected);
  }
}

}  // namespace
}  // namespace oru
