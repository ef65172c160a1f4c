// What must hold whatever call fails is scripts/sweep's.

#include <gtest/gtest.h>

#include "staged_install.h"

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/child_process.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

void ExpectLinesInOrder(const std::string& log, const std::vector<std::wstring>& lines) {
  size_t at = 0;
  for (const std::wstring& line : lines) {
    const size_t found = log.find(WideToUtf8(line + L"\n"), at);
    ASSERT_NE(found, std::string::npos) << "missing, or out of order: " << WideToUtf8(line) << "\n" << log;
    at = found + 1;
  }
}

// setup.exe succeeds and leaves uninstall\, the script takes the rest. The
// log tells every step in its order, the record read twice: for the copy,
// then once the application is known to be stopped.
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

  // Wine keeps the emptied directory the script ran from; Windows removes it.
  EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{});
  EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});
  EXPECT_FALSE(install.FinalLogPath().starts_with(install.installPath));
  EXPECT_FALSE(KeyExists(kProductClassesKey));
  EXPECT_FALSE(KeyExists(kMakerProductKey));
  EXPECT_TRUE(KeyExists(kProductKey));
  // The device identifier reaches the telemetry's common parameters.
  ExpectHas(install.TavrinTrace(),
            {L"key=\"d36\" value=\"e2e-device\"", L"uninstall_started", L"uninstall_tavrin_initialized",
             L"uninstall_begin", L"uninstall_registry_done", L"uninstall_completed"});
}

// The keys go only when the registration went; a key already gone stops the
// clean-up, yet the product counts as removed. The code-60 line is written
// twice. A pv of any type is read as text: missing unless a plain folder name.
TEST(EndToEnd, EveryRowOfTheDecisionTable) {
  enum : unsigned { kNoSetup = 1, kSetupRunning = 2, kClassesKeyGone = 4, kKeysRemoved = 8 };
  const auto sz = [](const std::wstring& text) {
    return std::string(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t));
  };
  const wchar_t *failed = L"卸载失败！", *missing = L"Could not find required installation information",
                *initFailed = L"卸载器初始化失败！", *noSetup = L"setup.exe does not exist: ";
  const struct {
    const char* name;
    unsigned shape;
    const wchar_t *registration, *line, *outcome;
    DWORD pvType = REG_NONE;  // REG_NONE: pv as staged
    std::string pv = {};
  } rows[] = {
      {"no setup.exe", kNoSetup, L"remove", L"没有找到 setup.exe 文件\n", failed},
      {"setup.exe running", kSetupRunning, L"remove", L"setup.exe 正在运行！", failed},
      {"registration emptied", kKeysRemoved, L"empty", L"oru should delete !!!", L"卸载成功！"},
      {"registration kept", 0, L"keep", L"oru shouldn't delete !!!!!!!", failed},
      {"a product key already gone", kClassesKeyGone, L"remove", L"oru should delete !!!", L"卸载成功！"},
      {"pv a dword", 0, L"remove", missing, initFailed, REG_DWORD, std::string("\x07\0\0\0", 4)},
      {"pv binary", 0, L"remove", noSetup, failed, REG_BINARY, "\xde\xad\xbe\xef"},
      {"pv multi", 0, L"remove", missing, initFailed, REG_MULTI_SZ, sz(L"C:\\a") + sz(L"C:\\b") + '\0' + '\0'},
      {"pv empty", 0, L"remove", missing, initFailed, REG_SZ, sz(L"")},
      {"pv of 259 characters", 0, L"remove", noSetup, failed, REG_SZ, sz(std::wstring(259, L'v'))},
      {"pv of 260 characters", 0, L"remove", L"Registry value is too long: pv", initFailed, REG_SZ,
       sz(std::wstring(260, L'v'))},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    StageOptions options;
    options.setupExe = (row.shape & kNoSetup) == 0;
    StagedInstall install(options);
    if ((row.shape & kClassesKeyGone) != 0) ::RegDeleteTreeW(HKEY_CURRENT_USER, kProductClassesKey);
    if (row.pvType != REG_NONE) {
      ::RegSetKeyValueW(HKEY_CURRENT_USER, kProductKey, kProductVersionValue, row.pvType, row.pv.data(),
                        static_cast<DWORD>(row.pv.size()));
    }
    const TempDir elsewhere;
    ChildProcess runningSetup;  // killed before its folder goes
    if ((row.shape & kSetupRunning) != 0)
      runningSetup = ChildProcess::Sleeper(CopyHelperAs(elsewhere.Child(L"setup.exe")));
    ExpectOrderlyRun(install, install.Run(L"--silent-oru", SetupExits(19, row.registration)));
    const std::string log = install.FinalLog(), busy = "setup.exe 被其他进程占用\n";
    EXPECT_EQ(log.find(busy) != log.rfind(busy), (row.shape & kSetupRunning) != 0);
    ExpectHas(log, {row.line, row.outcome});
    const bool removed = (row.shape & kKeysRemoved) != 0, gone = (row.shape & kClassesKeyGone) != 0;
    EXPECT_EQ(KeyExists(kProductClassesKey), !removed && !gone);
    EXPECT_EQ(KeyExists(kMakerProductKey), !removed);
    const std::string sent = install.TavrinTrace();
    // Without a version folder no telemetry library is staged, and nothing is sent.
    EXPECT_EQ(Has(sent, "uninstall_failed"), !removed && !gone && row.pvType == REG_NONE);
    if (gone) ExpectHas(sent, {L"uninstall_registry_fail", L"delete_failed", L"uninstall_completed"});
  }
}

// Options count only as written and each reaches the first event under its
// own key; a path that breaks naive quoting reaches setup.exe intact. One
// nobody may open ends the check with 4 before the registry is read.
TEST(EndToEnd, RunningApplicationIsKilledOnlyWithForce) {
  TempDir appDir;
  const std::wstring app = CopyHelperAs(appDir.Child(L"oru.stravo.exe"));
  {
    StagedInstall install;
    ChildProcess running = ChildProcess::Sleeper(app);
    ExpectOrderlyRun(install, install.Run(L"--unsilent-chrome --keep-user-data --silent-oru --FORCE", SetupExits(19)));
    EXPECT_TRUE(running.Running());
    ExpectHas(install.SetupTrace(),
              {L"\" --uninstall --verbose-logging --enable-logging --log-file=", L"chrome_uninstall.log\"\n"});
    ExpectHas(install.FinalLog(),
              {L"oru.stravo.exe is running. Please close it first or use --force.", L"卸载成功！",
               L"是否自动关闭 oru: 0", L"Chrome 卸载器是否弹窗: 1", L"是否保留用户数据: 1", L"Oru 卸载器是否弹窗: 0"});
    ExpectHas(install.TavrinTrace(), {LR"(key="force_kill" value="false")", LR"(key="silent_chrome" value="false")",
                                      LR"(key="silent_oru" value="true")", LR"(key="keep_user_data" value="true")"});
  }
  {
    StagedInstall install({LocalAppData() + L"\\Oru.stravo\\Oru's 100% & ^ App 奥如助手 \U0001F600", L""});
    ChildProcess running = ChildProcess::Sleeper(app);
    ExpectOrderlyRun(install, install.Run(L"--silent-oru --force", SetupExits(19)));
    EXPECT_FALSE(running.Running());
    ExpectHas(install.SetupTrace(),
              {L"\" --uninstall --force-uninstall --verbose-logging --enable-logging --log-file=\"" +
               install.uninstallDir + L"\\chrome_uninstall.log\" --delete-profile\n"});
    ExpectHas(install.FinalLog(), {L"Successfully killed process: oru.stravo.exe", L"卸载成功！"});
    ExpectHas(install.TavrinTrace(), {L"uninstall_stop_app_done"});
  }
  {
    StagedInstall install;
    ChildProcess running = ChildProcess::Sleeper(app);
    ASSERT_TRUE(running.DenyOpenByOthers());
    ExpectOrderlyRun(install, install.Run(L"--silent-oru --force", SetupExits(19)));
    EXPECT_TRUE(running.Running());
    EXPECT_EQ(install.SetupTrace(), "");
    const std::string log = install.FinalLog(), afterKill = log.substr(log.find("oru.stravo.exe kill failed.\n"));
    EXPECT_FALSE(Has(afterKill, "registry: ")) << afterKill;
    EXPECT_TRUE(Has(afterKill, "检查是否需要自毁卸载，安装路径: \n")) << afterKill;
    ExpectHas(install.TavrinTrace(),
              {L"uninstall_stop_app_fail", L"kill_failed", L"init_failed", LR"(key="result_code" value="4")",
               LR"(key="error_type" value="uninstall_failed")"});
  }
}

// No room in %TEMP%, no %LOCALAPPDATA% (injected): the workspace lies inside
// the installation, the script's working folder outside, and nothing is left.
// A plan the injector cannot carry out stops the run before it starts.
TEST(EndToEnd, ASelfDeletingRunWithTheWorkspaceBesideTheUninstallerLeavesNothing) {
  StageOptions options;
  options.injected = true;
  StagedInstall install(options);
  const DWORD exitCode = install.Run(
      L"", {{L"ORU_FAULT", L"GetDiskFreeSpaceExW:112:1;SHGetFolderPathW:5:*"}, {L"ORU_SETUP_STUB_REMOVE_FILES", L"1"}});
  EXPECT_TRUE(install.SelfDeleteStarted(install.installPath));
  ExpectOrderlyRun(install, exitCode);
  ExpectHas(install.FinalLog(),
            {L"使用备用方案: EXE同目\n", L"Working folder left to the self-deleting script: " + TempFolder()});
  EXPECT_EQ(install.Remaining(), std::vector<std::wstring>{});
  EXPECT_EQ(install.OwnFoldersLeft(), std::vector<std::wstring>{});

  StagedInstall again(options);
  EXPECT_EQ(again.Run(L"--silent-oru", {{L"ORU_FAULT", L"NoSuchCall:5:1"}}), 0xFA17u);
  EXPECT_TRUE(KeyExists(kProductKey));
}

}  // namespace
}  // namespace oru::test
