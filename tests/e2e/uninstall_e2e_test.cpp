// The uninstaller as its users meet it: staged installation, real process,
// outcome checked from outside (exit code, log, registry, files, what crossed
// into the stand-ins).

#include <gtest/gtest.h>

#include <algorithm>

#include "staged_install.h"

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/child_process.h"
#include "support/reboot_list.h"
#include "support/test_paths.h"
#include "sys/system_directory.h"

namespace oru::test {
namespace {

Env SetupExits(unsigned code, const wchar_t* registration) {
  return {{L"ORU_SETUP_STUB_EXIT_CODE", std::to_wstring(code)}, {L"ORU_SETUP_STUB_REGISTRATION", registration}};
}

size_t CountOf(const std::string& text, const std::string& fragment) {
  size_t count = 0;
  for (size_t at = text.find(fragment); at != std::string::npos; at = text.find(fragment, at + 1)) ++count;
  return count;
}

// Common checks of every run: exit code 0, a log that tells this run, and
// nothing outside the product touched.
void ExpectOrderlyRun(const StagedInstall& install, DWORD exitCode) {
  EXPECT_EQ(exitCode, 0u);
  const std::string log = install.FinalLog();
  EXPECT_EQ(log.rfind("\xEF\xBB\xBF=== ORU Setup Log ===\n", 0), 0u) << WideToUtf8(install.FinalLogPath());
  EXPECT_TRUE(Has(log, "================== Oru.stravo Uninstaller =================="));
  EXPECT_TRUE(Has(log, "Exiting uninstaller, temp directory will be cleaned up..."));
  EXPECT_TRUE(install.SentinelsIntact());
  // The children's working folder goes at exit, or with the script.
  for (const std::wstring& left : install.OwnFoldersLeft()) EXPECT_FALSE(left.ends_with(L"_cwd")) << WideToUtf8(left);
}

// Each line must follow the one before it, whatever comes between.
void ExpectLinesInOrder(const std::string& log, const std::vector<std::wstring>& lines) {
  size_t at = 0;
  for (const std::wstring& line : lines) {
    const size_t found = log.find(WideToUtf8(line + L"\n"), at);
    ASSERT_NE(found, std::string::npos) << "missing, or out of order: " << WideToUtf8(line) << "\n" << log;
    at = found + 1;
  }
}

// The default run, as its user meets it: setup.exe succeeds, moves itself
// out and removes everything but uninstall\, and the script takes the rest.
// The log tells every step of the driver in its order, the installation
// record read twice - for the component copy, then by the installation
// check once the application is known to be stopped.
TEST(EndToEnd, SuccessfulUninstallRemovesTheProductAndEveryFolderOfItsOwn) {
  StagedInstall install;
  const DWORD exitCode = install.Run(L"", {{L"ORU_DORVID_D36", L"e2e-device"}, {L"ORU_SETUP_STUB_REMOVE_FILES", L"1"}});
  EXPECT_TRUE(install.SelfDeleteStarted(install.installPath));
  ExpectOrderlyRun(install, exitCode);

  const std::wstring path = install.installPath, pv = kStagedPv, setup = install.setupExe;
  const std::wstring readPath = L"Found pv value in registry: " + path, readPv = L"Found pv value in registry: " + pv;
  ExpectLinesInOrder(
      install.FinalLog(),
      {L"================== Oru.stravo Uninstaller ==================",
       L"GetWindowsMajorVersion version: 10",
       L"[延迟上报 | +0ms] uninstall_started (待 Tavrin 初始化后发送)",
       readPath,
       readPv,
       L"临时目录管理器初始化",
       L"Attempting to copy Tavrin files from: " + path + L"\\" + pv,
       L"Successfully copied Tavrin files to temp directory",
       L"Initializing Tavrin SDK from temp directory...",
       L"Tavrin SDK initialized successfully from temp directory",
       L"是否自动关闭 oru: 0",
       L"Chrome 卸载器是否弹窗: 0",
       L"是否保留用户数据: 0",
       L"Oru 卸载器是否弹窗: 1",
       L"Process not running: oru.stravo.exe",
       readPath,
       readPv,
       L"Found installation path from registry: " + path,
       L"Found pv value from registry: " + pv,
       L"初始化成功，开始卸载！",
       L"Starting uninstall process...",
       L"cmdLine: \"" + setup + L"\" --uninstall --force-uninstall --verbose-logging --enable-logging --log-file=\"" +
           path + L"\\uninstall\\chrome_uninstall.log\" --delete-profile",
       L"Uninstall process started, waiting for it to finish...",
       L"Uninstall process finished, exit code: 19",
       L"Failed to open registry key: SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Oru.stravo",
       L"oru should delete !!!",
       L"Successfully deleted registry key: SOFTWARE\\Classes\\orustravo",
       L"Successfully deleted registry key: SOFTWARE\\Kelvane\\oru.stravo",
       L"setup.exe exitCode: 19",
       L"Chrome uninstall success!",
       L"卸载成功！",
       L"Waiting for reporting to complete...",
       L"Cleaning up Tavrin SDK...",
       L"Tavrin SDK cleanup completed",
       L"Waiting for DLL to fully unload...",
       L"检查是否需要自毁卸载，安装路径: " + path,
       L"✅ 需要自毁卸载！开始执行自毁脚本...",
       L"CreateAndRunSelfDeleteDirScript " + path,
       L"自毁脚本已启动（延迟2秒后执行）",
       L"Exiting uninstaller, temp directory will be cleaned up..."});

  // Nothing of the product and no folder of the run's own is left (Wine
  // keeps the emptied directory the script ran from; Windows removes it);
  // the log was kept aside, and the registry says where.
  EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{});
  EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});
  EXPECT_FALSE(install.FinalLogPath().starts_with(install.installPath));
  EXPECT_FALSE(KeyExists(kProductClassesKey));
  EXPECT_FALSE(KeyExists(kMakerProductKey));
  EXPECT_TRUE(KeyExists(kProductKey));
  const std::string telemetry = install.TavrinTrace();
  // The device identifier reaches the telemetry's common parameters.
  EXPECT_TRUE(Has(telemetry, "key=\"d36\" value=\"e2e-device\"")) << telemetry.substr(0, 2000);
  for (const char* event : {"uninstall_started", "uninstall_tavrin_initialized", "uninstall_begin",
                            "uninstall_registry_done", "uninstall_completed"}) {
    EXPECT_TRUE(Has(telemetry, event)) << event;
  }
}

TEST(EndToEnd, EveryRowOfTheDecisionTable) {
  struct Row {
    const char* name;
    bool setupExe;
    bool setupRunning;
    const wchar_t* registration;
    bool keysRemoved;
    std::vector<std::string> lines;
  };
  const Row rows[] = {
      {"no setup.exe", false, false, L"remove", false, {"没有找到 setup.exe 文件", "setup.exe 文件缺失", "卸载失败！"}},
      {"setup.exe running", true, true, L"remove", false, {"setup.exe 正在运行！", "卸载失败！"}},
      {"registration removed", true, false, L"remove", true, {"oru should delete !!!", "卸载成功！"}},
      {"registration emptied", true, false, L"empty", true, {"oru should delete !!!", "卸载成功！"}},
      {"registration kept", true, false, L"keep", false, {"oru shouldn't delete !!!!!!!", "卸载失败！"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    StageOptions options;
    options.setupExe = row.setupExe;
    StagedInstall install(options);
    const TempDir elsewhere;
    ChildProcess runningSetup;  // killed before its folder goes
    if (row.setupRunning) {
      runningSetup = ChildProcess::Sleeper(CopyHelperAs(elsewhere.Child(L"setup.exe")));
      ASSERT_TRUE(runningSetup.valid());
    }
    ExpectOrderlyRun(install, install.Run(L"--silent-oru", SetupExits(19, row.registration)));
    const std::string log = install.FinalLog();
    EXPECT_EQ(CountOf(log, "setup.exe 被其他进程占用\n"), row.setupRunning ? 2u : 0u);
    for (const auto& line : row.lines) EXPECT_TRUE(Has(log, line)) << line;
    EXPECT_EQ(KeyExists(kProductClassesKey), !row.keysRemoved);
    EXPECT_EQ(KeyExists(kMakerProductKey), !row.keysRemoved);
    EXPECT_EQ(Has(install.TavrinTrace(), "uninstall_failed"), !row.keysRemoved);
  }
  // A product key already gone fails the registry cleanup at once: the second
  // key stays and the event says so, yet the product counts as removed.
  StagedInstall install;
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kProductClassesKey);
  ExpectOrderlyRun(install, install.Run(L"--silent-oru", SetupExits(19, L"remove")));
  EXPECT_TRUE(KeyExists(kMakerProductKey));
  EXPECT_TRUE(Has(install.FinalLog(), "卸载成功！"));
  for (const char* sent : {"uninstall_registry_fail", "delete_failed", "uninstall_completed"}) {
    EXPECT_TRUE(Has(install.TavrinTrace(), sent)) << sent;
  }
}

TEST(EndToEnd, RunningApplicationIsKilledOnlyWithForce) {
  TempDir appDir;
  const std::wstring app = CopyHelperAs(appDir.Child(L"oru.stravo.exe"));
  {
    // Options count only as written: "--FORCE" is not "--force".
    StagedInstall install;
    ChildProcess running = ChildProcess::Sleeper(app);
    ASSERT_TRUE(running.Running());
    ExpectOrderlyRun(
        install, install.Run(L"--unsilent-chrome --keep-user-data --silent-oru --FORCE", SetupExits(19, L"remove")));
    EXPECT_TRUE(running.Running());
    const std::string trace = install.SetupTrace();
    EXPECT_FALSE(Has(trace, "--force-uninstall") || Has(trace, "--delete-profile")) << trace;
    EXPECT_TRUE(Has(trace, "--uninstall --verbose-logging --enable-logging --log-file=")) << trace;
    for (const char* line :
         {"oru.stravo.exe is running. Please close it first or use --force.", "卸载成功！", "是否自动关闭 oru: 0",
          "Chrome 卸载器是否弹窗: 1", "是否保留用户数据: 1", "Oru 卸载器是否弹窗: 0"}) {
      EXPECT_TRUE(Has(install.FinalLog(), line)) << line;
    }
    // Each option reaches the first event under its own key.
    for (const char* param : {R"(key="force_kill" value="false")", R"(key="silent_chrome" value="false")",
                              R"(key="silent_oru" value="true")", R"(key="keep_user_data" value="true")"}) {
      EXPECT_TRUE(Has(install.TavrinTrace(), param)) << param;
    }
  }
  {
    StagedInstall install;
    ChildProcess running = ChildProcess::Sleeper(app);
    ExpectOrderlyRun(install, install.Run(L"--silent-oru --force", SetupExits(19, L"remove")));
    EXPECT_FALSE(running.Running());
    EXPECT_TRUE(Has(install.FinalLog(), "Successfully killed process: oru.stravo.exe"));
    EXPECT_TRUE(Has(install.TavrinTrace(), "uninstall_stop_app_done"));
  }
  {
    // One nobody may open cannot be killed: the check ends with 4 before the
    // registry is read, setup.exe never runs, and the install path stays
    // empty for the rest of the run.
    StagedInstall install;
    ChildProcess running = ChildProcess::Sleeper(app);
    ASSERT_TRUE(running.DenyOpenByOthers());
    ExpectOrderlyRun(install, install.Run(L"--silent-oru --force", SetupExits(19, L"remove")));
    EXPECT_TRUE(running.Running());
    const std::string log = install.FinalLog();
    const std::string afterKill = log.substr(log.find("oru.stravo.exe kill failed.\n"));
    EXPECT_FALSE(Has(afterKill, "registry: ")) << afterKill;
    EXPECT_TRUE(Has(afterKill, "检查是否需要自毁卸载，安装路径: \n")) << afterKill;
    EXPECT_TRUE(install.SetupTrace().empty());
    for (const char* sent :
         {"uninstall_stop_app_fail", "kill_failed", "init_failed", R"(key="result_code" value="4")"}) {
      EXPECT_TRUE(Has(install.TavrinTrace(), sent)) << sent;
    }
  }
}

// A standard user, after an earlier run that was cut short: its workspace and
// working folders are still there, and a file in uninstall\ is held open by
// another process. A failed browser uninstall (20) leaves setup.exe behind;
// the clean-up removes it, the script the rest but the held file, and the
// earlier run's folders go with the sweep: no folder of ours is left.
TEST(EndToEnd, FailedBrowserUninstallCleansUpAndStartsTheSelfDeletingScript) {
  ::SetEnvironmentVariableW(L"ORU_E2E_UNINSTALLER", BinFile(L"oru_uninstall_injected.exe").c_str());
  StagedInstall install;
  for (const std::wstring& stale :
       {TempFolder() + L"\\OruSetup_99990\\tavrin\\dorvid.dll", TempFolder() + L"\\OruSetup_99990_cwd\\",
        LocalAppData() + L"\\OruSetup\\Temp_99991_cwd\\"}) {
    ASSERT_TRUE(WriteFileAt(stale + L"x"));
  }
  // The path recorded as a hand-edited registry may hold it, with forward
  // slashes and a trailing separator: its normal form reaches every step.
  std::wstring recorded = install.installPath + L"/";
  std::replace(recorded.begin(), recorded.end(), L'\\', L'/');
  SetValue(kProductKey, kInstallPathValue, recorded);
  const std::wstring held = install.uninstallDir + L"\\chrome_uninstall.log";
  ASSERT_TRUE(WriteFileAt(held));
  ChildProcess holder = ChildProcess::HoldFile(held);
  ASSERT_TRUE(holder.valid());
  // Windows refuses a standard user's scheduling with access denied.
  const DWORD exitCode = install.Run(L"--silent-oru", {{L"ORU_SETUP_STUB_EXIT_CODE", L"20"},
                                                       {L"ORU_SETUP_STUB_REGISTRATION", L"remove"},
                                                       {L"ORU_SETUP_STUB_REMOVE_FILES", L"1"},
                                                       {L"ORU_SETUP_STUB_KEEP_SELF", L"1"},
                                                       {L"ORU_FAULT", L"MoveFileExW:5:*:chrome_uninstall.log"}});
  EXPECT_TRUE(install.SelfDeleteStarted(install.installPath));
  ExpectOrderlyRun(install, exitCode);
  const std::string log = install.FinalLog();
  for (const char* line : {"chrome 卸载失败", "Installation directory is in minimal state, safe to cleanup",
                           "Successfully deleted version directory: ", "✅ 需要自毁卸载！开始执行自毁脚本...",
                           "自毁脚本已启动（延迟2秒后执行）"}) {
    EXPECT_TRUE(Has(log, line)) << line;
  }
  EXPECT_EQ(install.SetupTrace().rfind(WideToUtf8(L"\"" + install.setupExe + L"\" --uninstall"), 0), 0u);
  // Windows would move the running uninstaller into %TEMP% rather than fail.
  EXPECT_TRUE(Has(log, WideToUtf8(L"Kept while the uninstaller still needs it: " + install.exe)));
  EXPECT_TRUE(Has(log, WideToUtf8(L"Failed to schedule file deletion on reboot: " + held)));
  // Wine's "rd /s" stops at the held file; Windows' goes on past it.
  EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{L"[DIR] uninstall"});
  EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});
  // The log was kept out of the directory the script removes, and the
  // registry says where.
  EXPECT_FALSE(install.FinalLogPath().starts_with(install.installPath));
  EXPECT_TRUE(Has(install.FinalLog(), "Log kept outside the directory being removed: "));
}

// The case real Windows runs most and Wine never reaches by itself: a
// standard user may not schedule deletions for the reboot, so a file in use
// takes every fallback and each of them fails. Here setup.exe, held open by
// another process, cannot start (code 20), and the clean-up that follows
// finds it in use. A cmd.exe and a powershell.exe planted beside the
// uninstaller and in the folder it is started from never run: only the
// system's do. The plants are tripwires whose trace is a sentinel.
TEST(StandardUser, ALockedSetupTakesTheWholeFallbackChainAndChangesNothingElse) {
  ::SetEnvironmentVariableW(L"ORU_E2E_UNINSTALLER", BinFile(L"oru_uninstall_injected.exe").c_str());
  StageOptions options;
  options.leftoversOnly = true;
  StagedInstall install(options);
  const std::wstring trace = LocalAppData() + L"\\tripwire_trace.txt";
  install.AddSentinel(trace);
  install.currentDir = LocalAppData() + L"\\Oru Start Folder";
  install.AddSentinel(install.currentDir + L"\\keep.txt");
  for (const std::wstring& dir : {install.uninstallDir, install.currentDir}) {
    for (const wchar_t* name : {L"cmd.exe", L"powershell.exe"}) {
      ASSERT_TRUE(::CopyFileW(BinFile(L"tripwire.exe").c_str(), (dir + L"\\" + name).c_str(), FALSE));
    }
  }
  ChildProcess holder = ChildProcess::HoldFile(install.setupExe);
  ASSERT_TRUE(holder.valid());
  const std::wstring pendingBefore = PendingRenames();

  // Windows refuses a standard user's scheduling with access denied; Wine
  // lets everybody schedule, so the refusal is injected.
  const DWORD exitCode =
      install.Run(L"--silent-oru", {{L"ORU_TRIPWIRE_TRACE", trace}, {L"ORU_FAULT", L"MoveFileExW:5:*:setup.exe"}});

  EXPECT_EQ(exitCode, 0u);
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
        std::wstring(L"❌ 不需要自毁卸载！安装目录下还有其他文件或文件夹"),
        L" command: \"" + SystemDirectoryFile(L"cmd.exe") + L"\" ",
        L" command: \"" + SystemDirectoryFile(L"WindowsPowerShell\\v1.0\\powershell.exe") + L"\" "}) {
    EXPECT_TRUE(Has(log, WideToUtf8(line))) << WideToUtf8(line);
  }
}

}  // namespace
}  // namespace oru::test
