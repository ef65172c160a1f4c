// The uninstaller built with the fault injector, run on a staged installation:
// places Wine always gives can be taken away, and a plan it cannot carry out
// stops it before it touches anything. Its record of every call is what
// scripts/sweep replays.

#include <gtest/gtest.h>

#include "staged_install.h"

#include "common/strings.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

// No room in %TEMP% and no %LOCALAPPDATA%: the workspace falls back beside
// the uninstaller, inside the installation. The script's working folder
// still lies outside it, so the script removes the whole installation and
// leaves nothing of the run's own behind.
TEST(EndToEnd, ASelfDeletingRunWithTheWorkspaceBesideTheUninstallerLeavesNothing) {
  ::SetEnvironmentVariableW(L"ORU_E2E_UNINSTALLER", BinFile(L"oru_uninstall_injected.exe").c_str());
  StagedInstall install;
  const DWORD exitCode = install.Run(
      L"", {{L"ORU_FAULT", L"GetDiskFreeSpaceExW:112:1;SHGetFolderPathW:5:*"}, {L"ORU_SETUP_STUB_REMOVE_FILES", L"1"}});
  EXPECT_EQ(exitCode, 0u);
  EXPECT_TRUE(install.SelfDeleteStarted(install.installPath));
  const std::string log = install.FinalLog();
  EXPECT_TRUE(Has(log, "使用备用方案: EXE同目\n")) << log;
  EXPECT_TRUE(Has(log, WideToUtf8(L"Working folder left to the self-deleting script: " + TempFolder()))) << log;
  EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{});
  EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});
  EXPECT_TRUE(install.SentinelsIntact());

  StagedInstall again;
  EXPECT_EQ(again.Run(L"--silent-oru", {{L"ORU_FAULT", L"NoSuchCall:5:1"}}), 0xFA17u);
  EXPECT_TRUE(KeyExists(L"SOFTWARE\\Oru.stravo"));
}

}  // namespace
}  // namespace oru::test
