#include "app/browser_removal.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "common/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru {
namespace {

using test::LogCapture;

// The stand-in exits late, so a runner that did not wait would read the
// "still active" code; the largest code must come back whole, and a path
// that breaks naive quoting must arrive as it was given.
TEST(BrowserRemovalTest, RunWaitsForSetupAndPassesItsCommandLineUnchanged) {
  test::TempDir dir;
  const std::wstring setup = dir.MakeDir(L"Oru's 100% R&D 安装 dir") + L"\\setup.exe";
  ASSERT_TRUE(::CopyFileW(test::BinFile(L"setup_stub.exe").c_str(), setup.c_str(), FALSE));
  ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_TRACE", dir.Child(L"trace.txt").c_str());
  ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_EXIT_CODE", L"4294967295");
  ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_REGISTRATION", L"keep");
  ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_DELAY_MS", L"300");
  const std::wstring arguments = L"--uninstall --log-file=\"" + dir.path() + L"\\x.log\"";
  LogCapture log;

  EXPECT_EQ(RunBrowserUninstaller(setup, arguments), 4294967295u);

  const std::wstring commandLine = L"\"" + setup + L"\" " + arguments;
  EXPECT_EQ(Utf8ToWide(test::ReadFileBytes(dir.Child(L"trace.txt"))), commandLine + L"\n");
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"cmdLine: " + commandLine,
                                                    L"Uninstall process started, waiting for it to finish...",
                                                    L"Uninstall process finished, exit code: 4294967295"}));
}

// A code outside the table is "others", whatever its value. (The codes the
// end-to-end runs meet are checked there.)
TEST(BrowserRemovalTest, CodesOutsideTheTableAreOthers) {
  UninstallContext context(false, true, false, true);
  for (const std::uint32_t code : {0u, 23u, 4294967295u}) {
    LogCapture log;
    InterpretExitCode(context, code);
    EXPECT_EQ(log.Lines(),
              (std::vector<std::wstring>{L"setup.exe exitCode: " + ToWideDecimal(code), L"Others exit code!!!"}));
  }
}

}  // namespace
}  // namespace oru
