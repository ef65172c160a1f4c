#include "app/browser_removal.h"

#include <gtest/gtest.h>

#include <vector>

#include "product_fixture.h"

namespace oru {
namespace {

using test::LogCapture;

UninstallContext Context(bool silentChrome, bool keepUserData) {
  UninstallContext context(false, silentChrome, keepUserData, true);
  context.install_path = L"C:\\P";
  context.pv = L"1.2.3";
  return context;
}

TEST(BrowserRemovalTest, EachOptionDropsItsOwnSwitch) {
  const struct {
    bool silent, keep;
    const wchar_t* middle;
    const wchar_t* end;
  } rows[] = {
      {true, false, L"--force-uninstall ", L" --delete-profile"},
      {false, false, L"", L" --delete-profile"},
      {true, true, L"--force-uninstall ", L""},
  };
  for (const auto& row : rows) {
    const UninstallContext context = Context(row.silent, row.keep);
    EXPECT_EQ(ComposeUninstallArguments(context, BrowserLogPath(context)),
              L"--uninstall " + std::wstring(row.middle) +
                  L"--verbose-logging --enable-logging --log-file=\"C:\\P\\uninstall\\chrome_uninstall.log\"" +
                  row.end);
  }
}

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

// Every code is logged first; 20 also starts the cleanup of the installation
// directory, whose own first line names it.
TEST(BrowserRemovalTest, ExitCodesAreExplained) {
  const struct {
    std::uint32_t code;
    std::vector<std::wstring> lines;
  } rows[] = {
      {19, {L"Chrome uninstall success!"}},
      {21, {L"User cancels Chrome uninstallation!"}},
      {kSetupAlreadyRunning, {L"setup.exe 被其他进程占用", L"setup.exe 被其他进程占用"}},
      {kSetupMissing, {L"没有找到 setup.exe 文件", L"setup.exe 文件缺失"}},
      {0, {L"Others exit code!!!"}},
      {4294967295u, {L"Others exit code!!!"}},
      {kBrowserUninstallFailed, {L"chrome 卸载失败"}},
  };
  const UninstallContext context = Context(true, false);
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
