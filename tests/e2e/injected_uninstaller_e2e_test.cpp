// The uninstaller built with the fault injector, run on a staged installation:
// the record names the calls the run made, and a plan it cannot carry out
// stops it before it touches anything.

#include <gtest/gtest.h>

#include "staged_install.h"

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

}  // namespace
}  // namespace oru::test
