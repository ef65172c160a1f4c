// The case real Windows runs most and Wine never reaches by itself: a
// standard user may not schedule deletions for the reboot, so a file in use
// takes every fallback and each of them fails.

#include <gtest/gtest.h>

#include <filesystem>

#include "staged_install.h"

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/child_process.h"
#include "support/reboot_list.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

// setup.exe held open by another process makes the browser uninstaller fail
// to start (code 20), and the clean-up that follows finds it in use.
TEST(StandardUser, ALockedSetupTakesTheWholeFallbackChainAndChangesNothingElse) {
  StagedInstall install;
  // What a failed browser uninstall leaves: the version folder holds only
  // its Installer\setup.exe.
  for (const auto& entry : std::filesystem::directory_iterator(install.versionDir)) {
    if (entry.path().filename() != L"Installer") std::filesystem::remove_all(entry.path());
  }
  ChildProcess holder = ChildProcess::HoldFile(install.setupExe);
  ASSERT_TRUE(holder.valid());
  RebootSchedulingDenied denied;
  ASSERT_TRUE(denied.Applied());
  ASSERT_FALSE(::MoveFileExW(install.setupExe.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
  const std::wstring pendingBefore = PendingRenames();

  const RunResult run = install.Run(L"--silent-oru");

  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_TRUE(install.SentinelsIntact());
  EXPECT_EQ(PendingRenames(), pendingBefore);
  EXPECT_TRUE(Exists(install.setupExe));
  EXPECT_TRUE(KeyExists(kProductClassesKey));
  const std::string log = install.FinalLog();
  const std::wstring setup = install.setupExe;
  for (const std::wstring& line :
       {std::wstring(L"Failed to create uninstall process, error code: "), std::wstring(L"chrome 卸载失败"),
        std::wstring(L"Installation directory is in minimal state, safe to cleanup"),
        L"Failed to delete setup.exe: " + setup + L", error: 32", L"Retry attempt 4 to move file: " + setup,
        L"Failed to move file to temp after all retries: " + setup,
        L"Failed to schedule file deletion on reboot: " + setup,
        L"All multi-process delete file methods failed for: " + setup,
        L"All deletion methods failed for setup.exe: " + setup,
        std::wstring(L"Skipping version directory deletion because setup.exe deletion failed"),
        std::wstring(L"❌ 不需要自毁卸载！安装目录下还有其他文件或文件夹")}) {
    EXPECT_TRUE(Has(log, WideToUtf8(line))) << WideToUtf8(line);
  }
}

}  // namespace
}  // namespace oru::test
