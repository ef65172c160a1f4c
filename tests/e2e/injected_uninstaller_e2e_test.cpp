// The uninstaller built with the fault injector, run on a staged installation:
// the record names the calls the run made, a plan it cannot carry out stops
// it before it touches anything, and places Wine always gives can be taken
// away.

#include <gtest/gtest.h>

#include "staged_install.h"

#include "common/strings.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

TEST(EndToEnd, InjectedUninstallerRecordsEveryCoveredCallWithItsPath) {
  // The staging's own switch; each test case runs in a process of its own.
  ::SetEnvironmentVariableW(L"ORU_E2E_UNINSTALLER", BinFile(L"oru_uninstall_injected.exe").c_str());
  TempDir traces;
  const std::wstring record = traces.Child(L"calls.txt");
  {
    StagedInstall install;
    EXPECT_EQ(install.Run(L"--silent-oru", {{L"ORU_FAULT_RECORD", record}, {L"ORU_FAULT_SLEEP_DIVISOR", L"10"}}), 0u);
    EXPECT_TRUE(install.SentinelsIntact());
  }
  const std::string calls = ReadFileBytes(record);
  EXPECT_TRUE(Has(calls, "RegOpenKeyExW\t1\tSOFTWARE\\Oru.stravo\n")) << calls;
  EXPECT_TRUE(Has(calls, "CreateProcessW\t")) << calls;
  EXPECT_TRUE(Has(calls, "\\Installer\\setup.exe\n")) << calls;

  StagedInstall install;
  EXPECT_EQ(install.Run(L"--silent-oru", {{L"ORU_FAULT", L"NoSuchCall:5:1"}}), 0xFA17u);
  EXPECT_TRUE(KeyExists(L"SOFTWARE\\Oru.stravo"));
}

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
}

}  // namespace
}  // namespace oru::test
