#include "app/browser_removal.h"

#include <gtest/gtest.h>
#include <windows.h>
// Needs windows.h before it.
#include <shellapi.h>

#include <vector>

#include "common/strings.h"
#include "product_fixture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru {
namespace {

using test::LogCapture;
using test::ScopedEnvironment;
using test::TempDir;

UninstallContext Context(bool silentChrome, bool keepUserData) {
  UninstallContext context(false, silentChrome, keepUserData, true);
  context.install_path = L"C:\\P";
  context.pv = L"1.2.3";
  return context;
}

std::vector<std::wstring> SplitLikeAProgram(const std::wstring& commandLine) {
  int argc = 0;
  wchar_t** argv = ::CommandLineToArgvW(commandLine.c_str(), &argc);
  std::vector<std::wstring> args(argv, argv + argc);
  ::LocalFree(argv);
  return args;
}

TEST(BrowserRemovalTest, DefaultsUninstallSilentlyAndDeleteTheProfile) {
  const UninstallContext context = Context(true, false);
  EXPECT_EQ(SetupPath(context), L"C:\\P\\1.2.3\\Installer\\setup.exe");
  EXPECT_EQ(BrowserLogPath(context), L"C:\\P\\uninstall\\chrome_uninstall.log");
  EXPECT_EQ(ComposeUninstallArguments(context, BrowserLogPath(context)),
            L"--uninstall --force-uninstall --verbose-logging --enable-logging "
            L"--log-file=\"C:\\P\\uninstall\\chrome_uninstall.log\" --delete-profile");
}

TEST(BrowserRemovalTest, UnsilentAndKeepingUserDataDropBothSwitches) {
  const UninstallContext context = Context(false, true);
  EXPECT_EQ(ComposeUninstallArguments(context, BrowserLogPath(context)),
            L"--uninstall --verbose-logging --enable-logging --log-file=\"C:\\P\\uninstall\\chrome_uninstall.log\"");
}

// The stand-in exits late, so a runner that did not wait would read the
// "still active" code. A crashed child's code must come back whole.
TEST(BrowserRemovalTest, RunWaitsForSetupAndItsArgumentsArriveIntact) {
  TempDir dir;
  const std::wstring install = dir.MakeDir(test::kAwkwardFolderName);
  const std::wstring setup = dir.MakeDir(std::wstring(test::kAwkwardFolderName) + L"\\1.0\\Installer") + L"\\setup.exe";
  ASSERT_TRUE(::CopyFileW(test::BinFile(L"setup_stub.exe").c_str(), setup.c_str(), FALSE));
  const std::wstring trace = dir.Child(L"trace.txt");
  ScopedEnvironment traceSetting(L"ORU_SETUP_STUB_TRACE", trace);
  ScopedEnvironment exitSetting(L"ORU_SETUP_STUB_EXIT_CODE", L"4294967295");
  ScopedEnvironment delaySetting(L"ORU_SETUP_STUB_DELAY_MS", L"300");
  ScopedEnvironment registrationSetting(L"ORU_SETUP_STUB_REGISTRATION", L"keep");
  const std::wstring logFile = install + L"\\uninstall\\chrome_uninstall.log";
  const std::wstring arguments = L"--uninstall --log-file=\"" + logFile + L"\"";
  LogCapture log;

  EXPECT_EQ(RunBrowserUninstaller(setup, arguments), 4294967295u);

  const std::wstring commandLine = L"\"" + setup + L"\" " + arguments;
  EXPECT_EQ(Utf8ToWide(test::ReadFileBytes(trace)), commandLine + L"\n");
  EXPECT_EQ(SplitLikeAProgram(commandLine),
            (std::vector<std::wstring>{setup, L"--uninstall", L"--log-file=" + logFile}));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"cmdLine: " + commandLine,
                                                    L"Uninstall process started, waiting for it to finish...",
                                                    L"Uninstall process finished, exit code: 4294967295"}));
}

struct Meaning {
  std::uint32_t code;
  std::vector<std::wstring> lines;
};

// Codes whose handling differs from a plain one-line row: the two codes of
// the uninstaller's own, a success that needs no cleanup, and unknown codes.
TEST(BrowserRemovalTest, ExitCodesAreExplainedWithoutCleanupExceptForTwenty) {
  const std::vector<Meaning> meanings = {
      {19, {L"Chrome uninstall success!"}},
      {21, {L"User cancels Chrome uninstallation!"}},
      {kSetupAlreadyRunning, {L"setup.exe 被其他进程占用", L"setup.exe 被其他进程占用"}},
      {kSetupMissing, {L"没有找到 setup.exe 文件", L"setup.exe 文件缺失"}},
      {0, {L"Others exit code!!!"}},
      {4294967295u, {L"Others exit code!!!"}},
  };
  const UninstallContext context = Context(true, false);
  for (const Meaning& meaning : meanings) {
    SCOPED_TRACE(meaning.code);
    LogCapture log;
    InterpretExitCode(context, meaning.code);
    std::vector<std::wstring> expected{L"setup.exe exitCode: " + ToWideDecimal(meaning.code)};
    expected.insert(expected.end(), meaning.lines.begin(), meaning.lines.end());
    EXPECT_EQ(log.Lines(), expected);
  }
}

TEST(BrowserRemovalTest, FailedUninstallCleansUpTheInstallationDirectory) {
  const UninstallContext context = Context(true, false);
  LogCapture log;
  InterpretExitCode(context, kBrowserUninstallFailed);
  const auto lines = log.Lines();
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[0], L"setup.exe exitCode: 20");
  EXPECT_EQ(lines[1], L"chrome 卸载失败");
  // Whatever the cleanup logs first, it names itself.
  EXPECT_NE(lines[2].find(L"cleanup"), std::wstring::npos) << lines[2];
}

}  // namespace
}  // namespace oru
