#include "app/uninstaller_main.h"

#include <windows.h>
#include <shellscalingapi.h>

#include <memory>
#include <vector>

#include "app/browser_removal.h"
#include "app/installation_lookup.h"
#include "app/options.h"
#include "app/uninstall_context.h"
#include "app/uninstall_sequence.h"
#include "common/directory_entries.h"
#include "common/event_names.h"
#include "common/event_params.h"
#include "common/links.h"
#include "common/path_rules.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "identity/dorvid_manager.h"
#include "log/setup_logger.h"
#include "log/timestamp.h"
#include "remove/remains_removal.h"
#include "remove/self_delete_script.h"
#include "sys/child_process.h"
#include "sys/path_forms.h"
#include "sys/registry.h"
#include "sys/version_info.h"
#include "telemetry/event_reporter.h"
#include "workspace/component_staging.h"
#include "workspace/temp_directory_manager.h"

namespace oru {
namespace {

constexpr wchar_t kLogFileName[] = L"oru_uninstall.log";
constexpr std::uint64_t kWorkspaceRequiredBytes = 0x9600000;  // 150 MiB
constexpr DWORD kReportDeliveryWaitMs = 1000;
constexpr DWORD kLibraryUnloadWaitMs = 500;

// Where the run's log ended, under HKCU\SOFTWARE\Oru.stravo.
void RecordLogPathInRegistry(const std::wstring& logPath) {
  const wchar_t* valueName = LogPathValueName(kLogFileName);
  const DWORD type = REG_SZ;
  // The size leaves out the terminating NUL; readers have always coped.
  const DWORD size = static_cast<DWORD>(logPath.size() * sizeof(wchar_t));
  WriteRegistryValue(HKEY_CURRENT_USER, kProductKey, valueName, &type, reinterpret_cast<const BYTE*>(logPath.c_str()),
                     &size);
}

// The uninstaller's own path, or empty when it is unavailable or would not
// fit MAX_PATH (GetModuleFileNameW truncates silently).
std::wstring OwnExecutable() {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return {};
  return std::wstring(path, length);
}

// The folder of `executable`, or empty.
std::wstring DirectoryOf(const std::wstring& executable) {
  const size_t slash = executable.rfind(L'\\');
  return slash == std::wstring::npos ? std::wstring() : executable.substr(0, slash);
}

void ApplyDpiAwareness() {
  const std::int32_t major = GetOsVersionPart(0);
  LogInfo(L"GetWindowsMajorVersion version: " + ToWideDecimal(major));
  if (major >= 10) ::SetProcessDpiAwareness(PROCESS_PER_MONITOR_DPI_AWARE);
}

EventParams OptionParams(const UninstallOptions& options) {
  return {{"force_kill", BoolText(options.force)},
          {"silent_chrome", BoolText(options.silent_chrome)},
          {"silent_oru", BoolText(options.silent_oru)},
          {"keep_user_data", BoolText(options.keep_user_data)}};
}

// Stages the telemetry libraries and loads them from the workspace. Neither
// failure stops the uninstall: events then simply stay queued.
void StartTelemetry(const TempDirectoryManager& workspace, const InstallationRecord& installation) {
  bool copied = false;
  if (!installation.install_path.empty() && !installation.pv.empty()) {
    const std::wstring source = installation.install_path + L"\\" + installation.pv;
    LogInfo(L"Attempting to copy Tavrin files from: " + source);
    copied = CopyTavrinFiles(workspace, source);
    if (copied) {
      LogInfo(L"Successfully copied Tavrin files to temp directory");
    } else {
      LogWarning(L"Failed to copy Tavrin files from install directory");
    }
  } else {
    LogWarning(L"Cannot find install path or pv from registry, skipping Tavrin copy");
  }
  if (!copied) {
    LogWarning(L"Skipping Tavrin initialization due to copy failure");
    return;
  }
  LogInfo(L"Initializing Tavrin SDK from temp directory...");
  EventReporter::GetInstance().SetDeviceIdSource(ObtainD36);
  if (EventReporter::GetInstance().Init(workspace.GetTavrinDirectory())) {
    LogInfo(L"Tavrin SDK initialized successfully from temp directory");
    EventReporter::GetInstance().Report("uninstall_tavrin_initialized",
                                        {{"component", "uninstaller"}, {"source", "temp_directory"}});
  } else {
    LogInfo(L"Failed to initialize Tavrin SDK");
  }
}

void ReportOutcome(unsigned resultCode) {
  EventParams params{{"result_code", ToDecimal(resultCode)}};
  if (resultCode != 0) {
    params["error_type"] = kEventUninstallFailed;
    EventReporter::GetInstance().Report(kEventUninstallFailed, params);
  } else {
    EventReporter::GetInstance().Report("uninstall_completed", params);
  }
}

void StopTelemetry() {
  LogInfo(L"Waiting for reporting to complete...");
  ::Sleep(kReportDeliveryWaitMs);
  LogInfo(L"Cleaning up Tavrin SDK...");
  EventReporter::GetInstance().Uninit();
  LogInfo(L"Tavrin SDK cleanup completed");
  LogInfo(L"Waiting for DLL to fully unload...");
  ::Sleep(kLibraryUnloadWaitMs);
}

void ListRemainingContents(const std::wstring& installPath) {
  std::vector<std::wstring> lines;
  const bool listed = ForEachEntry(installPath, [&](const DirectoryEntry& entry) {
    lines.push_back(JoinWide({L"  ", entry.IsDirectory() ? L"[DIR]" : L"[FILE]", L" ", entry.name}));
    return true;
  });
  if (!listed) return;
  LogInfo(L"安装目录下的剩余内容:");
  for (const std::wstring& line : lines) LogInfo(line);
}

// The script ends in "rd /s /q", which follows links and lets the command
// interpreter expand "%": it is started only for this uninstaller's own
// installation, free of links. Paths are compared in their canonical forms,
// so that a short or differently cased record is judged as what it names.
// Returns why not, or empty.
std::wstring SelfDeleteRefusal(const std::wstring& installPath, const std::wstring& ownDirectory) {
  const std::wstring ownFolder = JoinWide({installPath, L"\\", kUninstallFolderName});
  const std::wstring canonicalOwn = CanonicalPathForm(ownDirectory);
  if (canonicalOwn.empty() || !EqualsIgnoreCase(canonicalOwn, CanonicalPathForm(ownFolder))) {
    return L"the uninstaller does not run from " + ownFolder;
  }
  if (installPath.find(L'%') != std::wstring::npos) return L"the path holds %, which the script would expand";
  std::wstring offender = IsLink(installPath) ? installPath : std::wstring();
  if (!offender.empty() || !IsTreeFreeOfLinks(installPath, offender)) {
    return L"a link, or a folder that cannot be listed, lies in it: " + offender;
  }
  return {};
}

// The log normally ends beside the uninstaller. It goes to a folder of its
// own next to the run-time log instead when that place is about to be
// removed by the script (or whether it is cannot be told), or is reached
// through a link (the log would land in whatever the link points to); the
// registry records the place as usual.
void KeepLogSafe(const std::wstring& ownDirectory, const std::wstring& doomedDirectory) {
  std::wstring reason;
  const auto doomed = [&] {
    const std::wstring own = CanonicalPathForm(ownDirectory), gone = CanonicalPathForm(doomedDirectory);
    return own.empty() || gone.empty() || IsSameOrInside(own, gone);
  };
  if (!doomedDirectory.empty() && doomed()) {
    reason = L"Log kept outside the directory being removed: ";
  } else if (IsLink(ownDirectory) || IsLink(JoinWide({ownDirectory, L"\\", kLogFileName}))) {
    reason = L"Log kept out of a folder reached through a link: ";
  } else {
    return;
  }
  const std::wstring runLog = SetupLogger::Instance().LogPath();
  const size_t slash = runLog.rfind(L'\\');
  if (slash == std::wstring::npos) return;
  const std::wstring keptDirectory = runLog.substr(0, slash) + L"\\kept_" + GetTimestampForName();
  LogInfo(reason + keptDirectory);
  SetupLogger::Instance().SetFinalLogPath(keptDirectory);
}

// The canonical forms of what the run still uses when the script is due: the
// running executable, and the workspace and working folder should they lie
// inside the installation. Empty when one of them has no canonical form.
std::vector<std::wstring> StillInUse(const std::wstring& ownExecutable, const TempDirectoryManager& workspace) {
  std::vector<std::wstring> inUse;
  for (const std::wstring& path : {ownExecutable, workspace.GetTempDirectory(), workspace.GetWorkingDirectory()}) {
    if (path.empty()) continue;
    std::wstring canonical = CanonicalPathForm(path);
    if (canonical.empty()) {
      LogWarning(L"Self-deleting script not started, the installation directory stays: no canonical form for " + path);
      return {};
    }
    inUse.push_back(std::move(canonical));
  }
  return inUse;
}

// True when the script was started for installPath. Before it starts, the
// uninstaller removes everything it can reach below installPath itself
// (all but what the run still uses), so that the script meets nothing but
// a shallow folder of the uninstaller's own.
bool RemoveInstallDirectoryIfOnlyUninstallerLeft(const std::wstring& installPath, const std::wstring& ownExecutable,
                                                 const TempDirectoryManager& workspace) {
  LogInfo(L"检查是否需要自毁卸载，安装路径: " + installPath);
  if (NeedsSelfDeleteUninstall(installPath)) {
    const std::wstring refusal = SelfDeleteRefusal(installPath, DirectoryOf(ownExecutable));
    if (!refusal.empty()) {
      LogWarning(L"Self-deleting script not started, the installation directory stays: " + refusal);
      return false;
    }
    const std::vector<std::wstring> inUse = StillInUse(ownExecutable, workspace);
    if (inUse.empty()) return false;
    LogInfo(L"✅ 需要自毁卸载！开始执行自毁脚本...");
    const std::wstring canonicalInstall = CanonicalPathForm(installPath);
    LogInfo(L"Removing what is left below the installation directory before the script starts: " + canonicalInstall);
    (void)DeleteRemainsExcept(canonicalInstall, inUse);
    CreateAndRunSelfDeleteDirScript(installPath);
    LogInfo(L"自毁脚本已启动（延迟2秒后执行）");
    return true;
  }
  LogInfo(L"❌ 不需要自毁卸载！安装目录下还有其他文件或文件夹");
  // Without an install path "\*" would list the current drive's root, which
  // is not the product's: nothing to show then.
  if (!installPath.empty()) ListRemainingContents(installPath);
  return false;
}

// A second uninstaller must not run setup.exe again nor write into the
// first one's log: it tells the user and leaves. The mutex lives as long as
// this process holds its handle.
bool AnotherUninstallerRunning(UniqueHandle& instanceLock) {
  HANDLE mutex = ::CreateMutexW(nullptr, FALSE, L"Local\\Oru.stravo.Uninstaller");
  const DWORD error = ::GetLastError();
  instanceLock.reset(mutex);
  return instanceLock && error == ERROR_ALREADY_EXISTS;
}

}  // namespace

int RunUninstaller() {
  const std::wstring ownExecutable = OwnExecutable();
  const std::wstring ownDirectory = DirectoryOf(ownExecutable);
  if (ownDirectory.empty()) return 1;

  UniqueHandle instanceLock;
  if (AnotherUninstallerRunning(instanceLock)) {
    // Before the log is opened: this line reaches the debugger channel only.
    LogInfo(L"Another uninstaller is running; this one leaves everything to it");
    if (!ParseProcessCommandLine().silent_oru) {
      ::MessageBoxW(nullptr, kBusyNoticeText, kBusyNoticeCaption, MB_OK | MB_ICONINFORMATION);
    }
    return 0;
  }

  InitSetupLog(kLogFileName, L"================== Oru.stravo Uninstaller ==================");
  SetupLogger::Instance().SetFinalLogPath(ownDirectory);

  ApplyDpiAwareness();

  const UninstallOptions options = ParseProcessCommandLine();
  EventReporter::GetInstance().Report("uninstall_started", OptionParams(options));

  const InstallationRecord installation = ReadInstallationRecord();

  auto workspace = std::make_unique<TempDirectoryManager>();
  if (!workspace->Initialize(kWorkspaceRequiredBytes, true)) {
    LogInfo(L"Failed to initialize temp directory manager");
    EventReporter::GetInstance().Report(kEventUninstallFailed, {{"reason", "temp_dir_init_failed"}});
    workspace.reset();
    return 1;
  }

  SetChildWorkingDirectory(workspace->GetWorkingDirectory());
  StartTelemetry(*workspace, installation);
  // Always "pass": no check stands behind this event, by design.
  EventReporter::GetInstance().Report("uninstall_environment_check",
                                      {{"check_type", "uninstaller_environment"}, {"result", "pass"}});

  {
    UninstallContext context(options.force, options.silent_chrome, options.keep_user_data, options.silent_oru);
    ReportOutcome(RunUninstall(context));
  }

  StopTelemetry();
  const bool scriptStarted =
      RemoveInstallDirectoryIfOnlyUninstallerLeft(installation.install_path, ownExecutable, *workspace);
  KeepLogSafe(ownDirectory, scriptStarted ? installation.install_path : std::wstring());

  LogInfo(L"Exiting uninstaller, temp directory will be cleaned up...");
  workspace.reset();
  const LogPlacement log = CloseLogFile();
  if (!log.path.empty()) RecordLogPathInRegistry(log.path);
  return 0;
}

}  // namespace oru
