// Damaged and hostile installations through the real executable: records,
// links and folder shapes that would lead the uninstaller outside its own.

#include <gtest/gtest.h>
#include <windows.h>
// Needs windows.h before it.
#include <sddl.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "staged_install.h"

#include "common/path_rules.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "support/child_process.h"
#include "support/reboot_list.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

TEST(Containment, TheTestPrefixReachesNothingButItsOwnDriveC) {
  EXPECT_EQ(::GetLogicalDrives(), 1u << 2) << "a drive beside C: (Z: would be the host's /)";
  EXPECT_EQ(BinDir().substr(0, 3) + std::filesystem::current_path().wstring().substr(0, 3), L"C:\\C:\\");
}

// Each row leads towards another vendor's product. A refused record (each
// rule alone: InstallationRecord) counts as missing; so does a link on its
// path, any other link is left alone. No row starts the self-deleting script.
TEST(Containment, NothingOutsideTheInstallationIsEnteredRunOrRemoved) {
  const std::wstring local = LocalAppData(), app = local + L"\\Oru.stravo\\Application", none;
  const std::wstring target = local + L"\\Linked Vendor\\App", logs = TempFolder() + L"\\OruSetupLogs";
  const std::wstring linkedTemp = local + L"\\Linked Temp", percentTemp = local + L"\\Temp 50%";
  const std::wstring tripwires = local + L"\\tripwire_trace.txt";
  const std::wstring profile = std::filesystem::path(local).parent_path().parent_path().wstring();
  // A prefix whose shell folders still lead to the host's home is no place for these rows.
  ASSERT_EQ(::GetFileAttributesW(profile.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
  // Another product waits at `bait`; the run starts in `cwd`.
  const auto record = [](const std::wstring& path, const std::wstring& pv, const std::wstring& bait,
                         const std::wstring& cwd = {}) {
    return [=](StagedInstall& i) {
      SetValue(kProductKey, kInstallPathValue, path);
      SetValue(kProductKey, kProductVersionValue, pv);
      if (!bait.empty()) i.PlantForeignProduct(bait);
      if (!cwd.empty()) i.currentDir = cwd;
      return true;
    };
  };
  const auto link = [](const std::wstring& at, const std::wstring& to, bool replace = false) {
    return [=](StagedInstall& i) {
      if (replace) RemoveTree(at);
      return i.Link(at, to);
    };
  };
  const std::wstring refused = L"Installation record refused, treated as missing: ";
  ChildProcess* holder = nullptr;  // holds a file open through the run
  const std::wstring version = app + L"\\" + kStagedPv, uninstall = app + L"\\uninstall";
  // setup.exe runs; nothing below the installation goes, not even at reboot; only leftovers staged.
  enum : unsigned { kSetupRuns = 1, kUntouched = 2, kLeftovers = 4 };
  struct Row {
    std::string name;
    unsigned expects;
    Env env;
    std::wstring logged;  // a line the run must have written
    std::function<bool(StagedInstall&)> prepare;
    std::wstring installPath = {};
  };
  const auto nothing = [](StagedInstall&) { return true; };
  const Env noEnv, tempLinked{{L"TEMP", linkedTemp}, {L"TMP", linkedTemp}};
  const Env tempWithPercent{{L"TEMP", percentTemp}, {L"TMP", percentTemp}};
  const Env noRoomInTemp{{L"ORU_FAULT", L"GetDiskFreeSpaceExW:112:1"}};
  const Env standardUser{{L"ORU_TRIPWIRE_TRACE", tripwires}, {L"ORU_FAULT", L"MoveFileExW:5:*:setup.exe"}};
  const Row rows[] = {
      {"record .", kUntouched, noEnv, refused, record(L".", kStagedPv, none, app)},
      {"record \\\\.\\", kUntouched, noEnv, refused, record(L"\\\\.\\" + app, kStagedPv, none)},
      {"record C:\\", kUntouched, noEnv, refused, record(L"C:\\", kStagedPv, L"C:\\" + std::wstring(kStagedPv))},
      {"pv ..", kUntouched, noEnv, refused, record(app, L"..", local + L"\\Oru.stravo")},
      {"pv 1.0.", kUntouched, noEnv, refused, record(app, L"1.0.", app + L"\\1.0")},
      {"record the profile", kUntouched, noEnv, refused, record(profile, kStagedPv, profile + L"\\" + kStagedPv)},
      {"a link inside the version folder", kSetupRuns | kLeftovers, noEnv, none, link(version + L"\\linked", target)},
      {"a link as the version folder", kUntouched | kLeftovers, noEnv, none, link(version, target, true)},
      {"a link as Installer", kUntouched | kLeftovers, noEnv, none,
       link(version + L"\\Installer", target + L"\\Installer", true)},
      {"a link as the installation folder", kUntouched | kLeftovers, noEnv, none,
       [&](StagedInstall& i) {
         return record(local + L"\\Oru Link", kStagedPv, none)(i) && link(local + L"\\Oru Link", app)(i);
       }},
      {"a link inside uninstall", kSetupRuns | kLeftovers, noEnv, none, link(uninstall + L"\\linked", target)},
      {"a link as uninstall, the uninstaller behind it", kSetupRuns | kLeftovers, noEnv, none,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\uninstall\\user file.txt");
         ::CopyFileW(i.exe.c_str(), (target + L"\\uninstall\\oru_uninstall.exe").c_str(), FALSE);
         return link(uninstall, target + L"\\uninstall", true)(i);
       }},
      {"a link as %TEMP%\\OruSetupLogs, a foreign oru_uninstall.log behind it", kSetupRuns, noEnv, none,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\oru_uninstall.log");
         return link(logs, target, true)(i);
       }},
      {"a link named like a stale workspace", kSetupRuns, noEnv, none,
       link(TempFolder() + L"\\OruSetup_99998", target)},
      // %TEMP% has no room, so the workspace would go there next.
      {"a link as %LOCALAPPDATA%\\OruSetup, a foreign Temp_ folder behind it", kSetupRuns, noRoomInTemp,
       L"链接在路径上，不使用: " + local + L"\\OruSetup",
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\Temp_99997\\keep.txt");
         return link(local + L"\\OruSetup", target, true)(i);
       }},
      {"a link as %TEMP% itself, a foreign OruSetup_ folder behind it", kSetupRuns, tempLinked,
       L"链接在路径上，不使用: " + linkedTemp,
       [&](StagedInstall& i) {
         i.AddSentinel(target + L"\\OruSetup_99996\\keep.txt");
         return link(linkedTemp, target)(i);
       }},
      {"% in the install path", kSetupRuns | kLeftovers, noEnv, L"Successfully deleted version directory: ", nothing,
       local + L"\\Oru.stravo\\Oru %TEMP% App"},
      // Its working folder would carry it into the script: nothing below the installation goes.
      {"% in the temporary folder", kSetupRuns | kLeftovers, tempWithPercent, none,
       [&](StagedInstall& i) {
         i.AddSentinel(percentTemp + L"\\keep.txt");
         i.AddSentinel(i.uninstallDir + L"\\logs\\a.txt");
         return true;
       }},
      {"the uninstaller outside a user folder the record names, setup.exe missing", 0, noEnv, none,
       [&](StagedInstall& i) {
         i.AddSentinel(local + L"\\User Project\\Uninstall\\notes.txt");
         return record(local + L"\\User Project", kStagedPv, none)(i);
       }},
      // No reboot scheduling for a standard user (injected): the held setup.exe
      // survives every fallback; the planted cmd.exe and powershell.exe never run.
      {"a standard user's locked setup.exe", kUntouched | kLeftovers, standardUser,
       L"Skipping version directory deletion because setup.exe deletion failed",
       [&](StagedInstall& i) {
         i.AddSentinel(tripwires);
         i.currentDir = local + L"\\Oru Start Folder";
         i.AddSentinel(i.currentDir + L"\\keep.txt");
         for (const std::wstring& dir : {i.uninstallDir, i.currentDir}) {
           for (const wchar_t* name : {L"\\cmd.exe", L"\\powershell.exe"}) {
             ::CopyFileW(BinFile(L"tripwire.exe").c_str(), (dir + name).c_str(), FALSE);
           }
         }
         *holder = ChildProcess::HoldFile(i.setupExe);
         return holder->valid();
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    StagedInstall install({row.installPath, L"", true, (row.expects & kLeftovers) != 0, true});
    ChildProcess held;
    holder = &held;
    install.PlantForeignProduct(target);
    if (!row.prepare(install)) GTEST_SKIP() << "could not prepare: directory links can only be made under Wine here";
    const auto before = install.Remaining(), versionBefore = install.Remaining(kStagedPv);
    const std::wstring pending = PendingRenames();

    Env env = kFailedBrowserUninstall;
    env.insert(row.env.begin(), row.env.end());
    ExpectOrderlyRun(install, install.Run(L"--silent-oru", env));
    const std::string log = install.FinalLog();
    EXPECT_FALSE(Has(log, "CreateAndRunSelfDeleteDirScript") || Has(log, "自毁脚本已启动")) << "script started";
    EXPECT_EQ(!install.SetupTrace().empty(), (row.expects & kSetupRuns) != 0);
    EXPECT_FALSE(Exists(target + L"\\uninstall\\oru_uninstall.log")) << "log written through a link";
    ExpectHas(log, {row.logged});
    // The log stays beside the uninstaller, unless that is through a link.
    if (!row.name.starts_with("a link as uninstall")) {
      EXPECT_EQ(install.FinalLogPath(), install.uninstallDir + L"\\oru_uninstall.log");
    }
    if ((row.expects & kUntouched) == 0) continue;
    EXPECT_EQ(install.Remaining(), before);
    EXPECT_EQ(install.Remaining(kStagedPv), versionBefore);
    EXPECT_EQ(PendingRenames(), pending);
    EXPECT_TRUE(KeyExists(kProductClassesKey));
  }
}

// After a failed browser uninstall the uninstaller removes the remains itself
// - shapes only extended-length paths reach, or deep enough to send Wine's
// "rd /s" into its working directory - and the script takes the rest.
TEST(Containment, SelfDeletingRunsRemoveEveryNameAndNothingOutside) {
  const std::wstring reserved[] = {L"nul", L"con", L"aux.txt", L"com1", L"lpt1.log", L"name.", L"name "};
  const std::wstring product = LocalAppData() + L"\\Oru.stravo\\";
  const auto deep = [](std::wstring dir, size_t length) {
    while (dir.size() < length) dir += L"\\" + std::wstring(60, L'd');
    return WriteFileAt(dir + L"\\f.txt");
  };
  const std::wstring held = product + L"Application\\uninstall\\chrome_uninstall.log";
  ChildProcess holder;
  struct Row {
    std::string name;
    std::wstring installPath, pv;
    std::function<bool(const StagedInstall&)> plant;
    Env env = {};  // run with the fault injector
    std::wstring logged = {};
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
      // A standard user after a run cut short: a held file that cannot be
      // scheduled for the reboot (injected) does not stop the script.
      {"an earlier run's folders, a held file, a hand-edited record",
       L"",
       L"",
       [&](auto& i) {
         std::wstring recorded = i.installPath + L"/";
         std::replace(recorded.begin(), recorded.end(), L'\\', L'/');
         SetValue(kProductKey, kInstallPathValue, recorded);
         return WriteFileAt(TempFolder() + L"\\OruSetup_99990\\tavrin\\dorvid.dll") &&
                WriteFileAt(LocalAppData() + L"\\OruSetup\\Temp_99991_cwd\\x") && WriteFileAt(held) &&
                (holder = ChildProcess::HoldFile(held)).valid();
       },
       {{L"ORU_FAULT", L"MoveFileExW:5:*:chrome_uninstall.log"}},
       L"Failed to schedule file deletion on reboot: " + held},
  };
  for (const wchar_t* pv : {L"nul", L"con", L"aux.txt", L"com1", L"lpt1.log"}) {
    rows.push_back({"the version folder " + WideToUtf8(pv), L"", pv, {}});
  }
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    StagedInstall install({row.installPath, row.pv, true, true, !row.env.empty()});
    ASSERT_TRUE(!row.plant || row.plant(install));
    const std::wstring recorded = NormalizePath(ReadValue(kProductKey, kInstallPathValue));
    Env env = kFailedBrowserUninstall;
    env.insert(row.env.begin(), row.env.end());
    const DWORD exitCode = install.Run(L"--silent-oru", env);
    holder.Kill();  // Wine's "rd /s" would stop at it; Windows' goes on past it
    EXPECT_TRUE(install.SelfDeleteStarted(recorded));
    ExpectOrderlyRun(install, exitCode);
    EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{});
    EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});
    // The line may keep the record's letter case.
    std::string log = install.FinalLog(),
                kept = WideToUtf8(L"Kept while the uninstaller still needs it: " + install.exe);
    for (std::string* text : {&log, &kept}) std::transform(text->begin(), text->end(), text->begin(), ::tolower);
    EXPECT_TRUE(Has(log, kept));
    // The remains go after the telemetry library: no event is queued.
    EXPECT_FALSE(Has(log.substr(log.find("tavrin sdk cleanup completed")), "延迟上报"));
    ExpectHas(install.FinalLog(), {L"Installation directory is in minimal state, safe to cleanup",
                                   L"Successfully deleted version directory: ",
                                   L"Log kept outside the directory being removed: ", row.logged});
    EXPECT_FALSE(install.FinalLogPath().starts_with(install.installPath));
  }
}

// A version.dll beside the uninstaller, preferred to the system's (Wine's
// user32 maps it), is never called; nor is a library loaded by name found there.
TEST(Containment, ALibraryPlantedBesideTheUninstallerIsNeverCalled) {
  const std::wstring appDefaults = L"Software\\Wine\\AppDefaults\\oru_uninstall.exe";
  StagedInstall install;
  const std::wstring trace = LocalAppData() + L"\\planted_trace.txt";  // a sentinel: a call changes it
  install.AddSentinel(trace);
  for (const wchar_t* name : {L"\\version.dll", L"\\crellix_logger.dll"}) {
    ASSERT_TRUE(::CopyFileW(BinFile(L"planted_version.dll").c_str(), (install.uninstallDir + name).c_str(), FALSE));
  }
  SetValue(appDefaults + L"\\DllOverrides", L"version", L"native,builtin");
  ExpectOrderlyRun(install, install.Run(L"--silent-oru", {{L"ORU_PLANTED_DLL_TRACE", trace},
                                                          {L"ORU_TAVRIN_LOAD_BY_NAME", L"crellix_logger.dll"}}));
  ::RegDeleteTreeW(HKEY_CURRENT_USER, appDefaults.c_str());
  EXPECT_TRUE(Has(install.FinalLog(), "从 EXE 读取到版本号: ")) << "the system's version.dll answers";
  EXPECT_TRUE(Has(install.TavrinTrace(), "call TV_InitSDK"));
  EXPECT_FALSE(Has(install.TavrinTrace(), "loaded by name"));
}

// A second uninstaller, started while the first waits, touches nothing.
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
  ExpectOrderlyRun(install, first);
  EXPECT_EQ(second, 0u);
  const std::string trace = install.SetupTrace(), log = install.FinalLog();
  EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 1) << trace;
  // The late setup.exe was waited for; the runs differ in one option, which each log repeats.
  ExpectHas(log, {L"setup.exe exitCode: 19", L"是否保留用户数据: 0"});
  EXPECT_FALSE(Has(log, "是否保留用户数据: 1")) << log;
}

// An uninstaller of another token made the mutex and this user may not open
// it (an empty access list): busy all the same.
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
