// Damaged and hostile installations through the real executable: records,
// links and folder shapes that would lead the uninstaller outside its own
// installation. Whatever the row, everything outside the product stays
// byte-identical, no other vendor's setup.exe starts, the run exits 0 and the
// registry names a log that exists. That a legitimate installation, recorded
// with forward slashes and a trailing separator, still goes completely is
// EndToEnd.FailedBrowserUninstallCleansUpAndStartsTheSelfDeletingScript.

#include <gtest/gtest.h>
#include <windows.h>
// Needs windows.h before it.
#include <sddl.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "staged_install.h"

#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

// A failed browser uninstall (20) is the answer after which the uninstaller
// cleans up the installation and may start the self-deleting script.
const Env kFailedBrowserUninstall{{L"ORU_SETUP_STUB_EXIT_CODE", L"20"}, {L"ORU_SETUP_STUB_REGISTRATION", L"remove"}};

// What every row asserts. No self-deleting script may start for `doomed`
// (empty: the row expects one).
void ExpectContained(const StagedInstall& install, DWORD exitCode, const std::wstring& doomed) {
  EXPECT_FALSE(!doomed.empty() && install.SelfDeleteStarted(doomed)) << WideToUtf8(doomed);
  EXPECT_EQ(exitCode, 0u);
  EXPECT_TRUE(install.SentinelsIntact());
  EXPECT_EQ(install.ForeignTrace(), "") << "another vendor's setup.exe was started";
  EXPECT_EQ(install.FinalLog().rfind("\xEF\xBB\xBF=== ORU Setup Log ===\n", 0), 0u)
      << "no log at " << WideToUtf8(install.FinalLogPath());
}

TEST(Containment, TheTestPrefixReachesNothingButItsOwnDriveC) {
  EXPECT_EQ(::GetLogicalDrives(), 1u << 2) << "a drive beside C: (Z: would be the host's /)";
  EXPECT_EQ(BinDir().substr(0, 3) + std::filesystem::current_path().wstring().substr(0, 3), L"C:\\C:\\");
}

// A refused record is treated as a missing one: nothing run, nothing
// deleted, the log beside the uninstaller. One row for each kind of hazard
// (every rule alone is InstallationRecord.EachRefusalRuleRefusesOnItsOwn):
// where the record leads, another vendor's product waits with its own
// setup.exe; a relative record resolves, from the uninstaller's current
// folder, to the real installation.
TEST(Containment, RefusedInstallationRecordsAreTreatedAsMissing) {
  const std::wstring local = LocalAppData(), app = local + L"\\Oru.stravo\\Application";
  // %LOCALAPPDATA% is <profile>\AppData\Local.
  const std::wstring profile = std::filesystem::path(local).parent_path().parent_path().wstring();
  struct Row {
    std::wstring path, pv;
    std::wstring bait;  // where a foreign product is planted
    std::wstring cwd;
  };
  const std::wstring none;
  std::vector<Row> rows = {
      {L".", kStagedPv, none, app},
      {L"\\\\.\\" + app, kStagedPv, none, none},
      {L"C:\\", kStagedPv, L"C:\\" + std::wstring(kStagedPv), none},
      {app, L"..", local + L"\\Oru.stravo", none},
      {app, L"1.0.", app + L"\\1.0", none},
      {profile, kStagedPv, profile + L"\\" + kStagedPv, none},
  };
  // A prefix whose shell folders still lead to the host's home is no place for these rows.
  ASSERT_EQ(::GetFileAttributesW(profile.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
  for (const Row& row : rows) {
    SCOPED_TRACE(WideToUtf8(L"OruInstallPath " + row.path + L", pv " + row.pv));
    StagedInstall install;
    if (!row.bait.empty()) install.PlantForeignProduct(row.bait);
    if (!row.cwd.empty()) install.currentDir = row.cwd;
    SetValue(kProductKey, kInstallPathValue, row.path);
    SetValue(kProductKey, kProductVersionValue, row.pv);
    const auto before = install.Remaining(), versionBefore = install.Remaining(kStagedPv);

    ExpectContained(install, install.Run(L"--silent-oru", kFailedBrowserUninstall), app);
    EXPECT_FALSE(install.SelfDeleteStarted(install.currentDir));
    EXPECT_EQ(install.SetupTrace(), "");
    EXPECT_EQ(install.Remaining(), before);
    EXPECT_EQ(install.Remaining(kStagedPv), versionBefore);
    EXPECT_TRUE(KeyExists(kProductClassesKey));
    EXPECT_EQ(install.FinalLogPath(), install.uninstallDir + L"\\oru_uninstall.log");
    // Refused by its own rules, not only stopped by a later step's.
    EXPECT_TRUE(Has(install.FinalLog(), "Installation record refused, treated as missing: "));
  }
}

// A link at each level, each to another vendor's product whose files must
// stay whole. A link on the record's own path refuses the record; any other
// is left alone, and the self-deleting script never starts past one.
TEST(Containment, LinksAreNeverEntered) {
  // Built with the fault injector, which one row needs; the same run otherwise.
  ::SetEnvironmentVariableW(L"ORU_E2E_UNINSTALLER", BinFile(L"oru_uninstall_injected.exe").c_str());
  const std::wstring target = LocalAppData() + L"\\Linked Vendor\\App", logs = TempFolder() + L"\\OruSetupLogs";
  struct Row {
    const char* name;
    bool setupRuns;      // the record still holds
    bool leftoversOnly;  // the shape after which the script would start, but for the link
    std::function<bool(StagedInstall&)> link;
    Env env = {};
    std::wstring logged = {};  // a line the run must have written
  };
  const std::wstring linkedTemp = LocalAppData() + L"\\Linked Temp";
  const Row rows[] = {
      {"inside the version folder", true, true,
       [&](StagedInstall& i) { return i.Link(i.versionDir + L"\\linked", target); }},
      {"as the version folder", false, true,
       [&](StagedInstall& i) {
         RemoveTree(i.versionDir);
         return i.Link(i.versionDir, target);
       }},
      {"as Installer", false, true,
       [&](StagedInstall& i) {
         RemoveTree(i.versionDir + L"\\Installer");
         return i.Link(i.versionDir + L"\\Installer", target + L"\\Installer");
       }},
      {"as the installation folder", false, true,
       [&](StagedInstall& i) {
         SetValue(kProductKey, kInstallPathValue, LocalAppData() + L"\\Oru Link");
         return i.Link(LocalAppData() + L"\\Oru Link", i.installPath);
       }},
      {"inside uninstall", true, true, [&](StagedInstall& i) { return i.Link(i.uninstallDir + L"\\linked", target); }},
      {"as uninstall, the uninstaller behind it", true, true,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\uninstall\\user file.txt");
         ::CopyFileW(i.exe.c_str(), (target + L"\\uninstall\\oru_uninstall.exe").c_str(), FALSE);
         RemoveTree(i.uninstallDir);
         return i.Link(i.uninstallDir, target + L"\\uninstall");
       }},
      {"as %TEMP%\\OruSetupLogs, a foreign oru_uninstall.log behind it", true, false,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\oru_uninstall.log");
         RemoveTree(logs);
         return i.Link(logs, target);
       }},
      {"named like a stale workspace", true, false,
       [&](StagedInstall& i) { return i.Link(TempFolder() + L"\\OruSetup_99998", target); }},
      // %TEMP% has no room, so the workspace would go there next.
      {"as %LOCALAPPDATA%\\OruSetup, a foreign Temp_ folder behind it",
       true,
       false,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\Temp_99997\\keep.txt");
         RemoveTree(LocalAppData() + L"\\OruSetup");
         return i.Link(LocalAppData() + L"\\OruSetup", target);
       },
       {{L"ORU_FAULT", L"GetDiskFreeSpaceExW:112:1"}},
       L"链接在路径上，不使用: " + LocalAppData() + L"\\OruSetup"},
      {"as %TEMP% itself, a foreign OruSetup_ folder behind it",
       true,
       false,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\OruSetup_99996\\keep.txt");
         return i.Link(linkedTemp, target);
       },
       {{L"TEMP", linkedTemp}, {L"TMP", linkedTemp}},
       L"链接在路径上，不使用: " + linkedTemp},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    StageOptions options;
    options.leftoversOnly = row.leftoversOnly;
    StagedInstall install(options);
    install.PlantForeignProduct(target);
    if (!row.link(install)) GTEST_SKIP() << "directory links can only be made under Wine here";

    Env env = kFailedBrowserUninstall;
    env.insert(row.env.begin(), row.env.end());
    ExpectContained(install, install.Run(L"--silent-oru", env), install.installPath);
    EXPECT_EQ(!install.SetupTrace().empty(), row.setupRuns);
    EXPECT_FALSE(Exists(target + L"\\uninstall\\oru_uninstall.log")) << "log written through a link";
    EXPECT_TRUE(Has(install.FinalLog(), WideToUtf8(row.logged)));
  }
}

// The script is for this uninstaller's own installation only. Both rows
// leave a folder that holds nothing but an uninstall folder, the shape that
// qualifies it.
TEST(Containment, SelfDeleteOnlyForItsOwnInstallation) {
  const std::wstring userFolder = LocalAppData() + L"\\User Project";
  {
    SCOPED_TRACE("% in the install path");
    StageOptions options;
    options.installPath = LocalAppData() + L"\\Oru.stravo\\Oru %TEMP% App";
    options.leftoversOnly = true;
    StagedInstall install(options);
    ExpectContained(install, install.Run(L"--silent-oru", kFailedBrowserUninstall), install.installPath);
    EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{L"[DIR] uninstall"});
  }
  {
    // The script's working folder would carry it: refused before anything
    // below the installation is removed, and never reported as started.
    SCOPED_TRACE("% in the temporary folder");
    StageOptions options;
    options.leftoversOnly = true;
    StagedInstall install(options);
    ASSERT_TRUE(WriteFileAt(install.uninstallDir + L"\\logs\\a.txt"));
    const std::wstring temp = LocalAppData() + L"\\Temp 50%";
    ASSERT_TRUE(::CreateDirectoryW(temp.c_str(), nullptr) || ::GetLastError() == ERROR_ALREADY_EXISTS);
    Env env = kFailedBrowserUninstall;
    env[L"TEMP"] = env[L"TMP"] = temp;
    ExpectContained(install, install.Run(L"--silent-oru", env), install.installPath);
    RemoveTree(temp);
    EXPECT_TRUE(Exists(install.uninstallDir + L"\\logs\\a.txt"));
    EXPECT_EQ(install.FinalLogPath(), install.uninstallDir + L"\\oru_uninstall.log");
    EXPECT_FALSE(Has(install.FinalLog(), "自毁脚本已启动"));
  }
  {
    SCOPED_TRACE("the uninstaller outside a user folder the record names, setup.exe missing");
    StagedInstall install;
    install.AddSentinel(userFolder + L"\\Uninstall\\notes.txt");
    SetValue(kProductKey, kInstallPathValue, userFolder);
    ExpectContained(install, install.Run(L"--silent-oru", kFailedBrowserUninstall), userFolder);
    EXPECT_EQ(install.SetupTrace(), "");
  }
}

// Shapes only extended-length paths reach, or deep enough to send Wine's
// "rd /s" into its working directory: the uninstaller removes them itself
// before the script starts in a folder of the run's own. A record in another
// spelling of the folder (short, other letter case) is judged as the folder
// it names. Nothing outside changes (%TEMP% and this test's own folder
// included), the log is where the registry says - outside what the script
// removes - and nothing is left but the directory Wine's script stands in.
TEST(Containment, SelfDeletingRunsRemoveEveryNameAndNothingOutside) {
  const std::wstring reserved[] = {L"nul", L"con", L"aux.txt", L"com1", L"lpt1.log", L"name.", L"name "};
  const std::wstring product = LocalAppData() + L"\\Oru.stravo\\";
  const auto deep = [](std::wstring dir, size_t length) {
    while (dir.size() < length) dir += L"\\" + std::wstring(60, L'd');
    return WriteFileAt(dir + L"\\f.txt");
  };
  struct Row {
    std::string name;
    std::wstring installPath, pv;
    std::function<bool(const StagedInstall&)> plant;
  };
  std::vector<Row> rows = {
      {"a deep folder in uninstall", L"", L"", [&](auto& i) { return deep(i.uninstallDir + L"\\deep", 300); }},
      {"a 228-character installation", product + std::wstring(228 - product.size(), L'p'), L"",
       [](auto& i) { return WriteFileAt(i.uninstallDir + L"\\logs\\a.txt"); }},
      {"a 1,000-character tree", L"", L"", [&](auto& i) { return deep(i.uninstallDir + L"\\tree", 1000); }},
      {"reserved names in uninstall", L"", L"",
       [&](auto& i) {
         bool made = true;
         for (const std::wstring& name : reserved) {
           made = WriteFileAt(i.uninstallDir + L"\\" + name) && made;
           made = WriteFileAt(i.uninstallDir + L"\\folders\\" + name + L"\\f.txt") && made;
         }
         return made;
       }},
      {"the record in its short form", L"", L"",
       [](auto& i) {
         wchar_t shortPath[MAX_PATH] = {};
         ::GetShortPathNameW(i.installPath.c_str(), shortPath, MAX_PATH);
         SetValue(kProductKey, kInstallPathValue, shortPath);
         return i.installPath != shortPath;
       }},
      {"the record in upper case", L"", L"",
       [](auto& i) {
         std::wstring upper = i.installPath;
         std::transform(upper.begin(), upper.end(), upper.begin(), ::towupper);
         SetValue(kProductKey, kInstallPathValue, upper);
         return i.installPath != upper;
       }},
  };
  for (const wchar_t* pv : {L"nul", L"con", L"aux.txt", L"com1", L"lpt1.log"}) {
    rows.push_back({"the version folder " + WideToUtf8(pv), L"", pv, {}});
  }
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    StageOptions options{row.installPath, row.pv, true, true};
    StagedInstall install(options);
    ASSERT_TRUE(!row.plant || row.plant(install));
    const std::wstring recorded = ReadValue(kProductKey, kInstallPathValue);
    const DWORD exitCode = install.Run(L"--silent-oru", kFailedBrowserUninstall);
    EXPECT_TRUE(install.SelfDeleteStarted(recorded));
    ExpectContained(install, exitCode, L"");
    EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{});
    EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});
    // Whatever the record's spelling (the line may keep its letter case):
    // Windows would move the running uninstaller into %TEMP% rather than fail.
    std::string log = install.FinalLog(),
                kept = WideToUtf8(L"Kept while the uninstaller still needs it: " + install.exe);
    for (std::string* text : {&log, &kept}) std::transform(text->begin(), text->end(), text->begin(), ::tolower);
    EXPECT_TRUE(Has(log, kept));
    // The removal of the remains, after the telemetry library is gone,
    // queues no event that nothing would ever send.
    EXPECT_FALSE(Has(log.substr(log.find("tavrin sdk cleanup completed")), "延迟上报"));
  }
}

// A version.dll beside the uninstaller, preferred to the system's, is never
// called. Wine reads that order from the registry; its user32 maps the copy.
// Nor is a companion there found that the telemetry library loads by name.
TEST(Containment, ALibraryPlantedBesideTheUninstallerIsNeverCalled) {
  const std::wstring appDefaults = L"Software\\Wine\\AppDefaults\\oru_uninstall.exe";
  StagedInstall install;
  const std::wstring trace = LocalAppData() + L"\\planted_trace.txt";  // a sentinel: a call changes it
  install.AddSentinel(trace);
  for (const wchar_t* name : {L"\\version.dll", L"\\crellix_logger.dll"}) {
    ASSERT_TRUE(::CopyFileW(BinFile(L"planted_version.dll").c_str(), (install.uninstallDir + name).c_str(), FALSE));
  }
  SetValue(appDefaults + L"\\DllOverrides", L"version", L"native,builtin");
  ExpectContained(install,
                  install.Run(L"--silent-oru", {{L"ORU_PLANTED_DLL_TRACE", trace},
                                                {L"ORU_TAVRIN_LOAD_BY_NAME", L"crellix_logger.dll"}}),
                  install.installPath);
  ::RegDeleteTreeW(HKEY_CURRENT_USER, appDefaults.c_str());
  EXPECT_TRUE(Has(install.FinalLog(), "从 EXE 读取到版本号: ")) << "the system's version.dll answers";
  EXPECT_TRUE(Has(install.TavrinTrace(), "call TV_InitSDK"));
  EXPECT_FALSE(Has(install.TavrinTrace(), "loaded by name"));
}

// A second uninstaller started while the first waits for setup.exe leaves the
// first one's log alone and runs nothing.
TEST(Containment, OneUninstallerAtATime) {
  StagedInstall install;
  const Env env{{L"ORU_SETUP_STUB_DELAY_MS", L"4000"}, {L"ORU_SETUP_STUB_EXIT_CODE", L"19"}};
  const std::wstring runLog = TempFolder() + L"\\OruSetupLogs\\oru_uninstall.log";
  DWORD second = 0xFFFFFFFF;
  const DWORD first = install.Run(L"--silent-oru", env, [&] {
    for (int i = 0; i < 200 && !Exists(runLog); ++i) ::Sleep(50);
    ASSERT_TRUE(Exists(runLog));
    second = install.Run(L"--silent-oru --keep-user-data", env);
  });
  ExpectContained(install, first, install.installPath);
  EXPECT_EQ(second, 0u);
  const std::string trace = install.SetupTrace(), log = install.FinalLog();
  EXPECT_TRUE(Has(log, "setup.exe exitCode: 19")) << "the late setup.exe was waited for";
  EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 1) << trace;
  // The runs differ in one option, which each run's log repeats near its
  // start: the first run's log is whole and holds nothing of the second.
  EXPECT_NE(log.find("是否保留用户数据: 0"), std::string::npos) << log;
  EXPECT_EQ(log.find("是否保留用户数据: 1"), std::string::npos) << log;
}

// An uninstaller of another token - an elevated one, another account in the
// session - made the mutex, and this user may not open it: busy all the
// same. An empty access list lets nobody but its maker in.
TEST(Containment, AMutexThatCannotBeOpenedMeansAnotherUninstallerRuns) {
  StagedInstall install;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:", SDDL_REVISION_1, &descriptor, nullptr));
  SECURITY_ATTRIBUTES attributes{sizeof(attributes), descriptor, FALSE};
  const UniqueHandle mutex(::CreateMutexW(&attributes, FALSE, L"Local\\Oru.stravo.Uninstaller"));
  ::LocalFree(descriptor);
  ASSERT_TRUE(mutex);
  const auto before = install.Remaining();
  EXPECT_EQ(install.Run(L"--silent-oru"), 0u);
  EXPECT_EQ(install.SetupTrace(), "");
  EXPECT_EQ(install.FinalLogPath(), L"");
  EXPECT_EQ(install.Remaining(), before);
  EXPECT_TRUE(install.SentinelsIntact());
}

}  // namespace
}  // namespace oru::test
