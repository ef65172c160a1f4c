#include "app/uninstaller_main.h"

#include <windows.h>
#include <shellscalingapi.h>

#include <memory>

#include "app/browser_removal.h"
#include "app/final_log_folder.h"
#include "app/installation_lookup.h"
#include "app/options.h"
#include "app/uninstall_context.h"
#include "app/uninstall_sequence.h"
#include "common/event_names.h"
#include "common/event_params.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "identity/dorvid_manager.h"
#include "log/setup_logger.h"
#include "remove/self_delete_decision.h"
#include "sys/child_process.h"
#include "sys/registry.h"
#include "sys/system_directory.h"
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

void ApplyDpiAwareness() {
  const std::int32_t major = GetOsVersionPart(0);
  LogInfo(L"GetWindowsMajorVersion version: " + ToWideDecimal(major));
  if (major >= 10) ::SetProcessDpiAwareness(PROCESS_PER_MONITOR_DPI_AWARE);
}

EventParams OptionParams(const UninstallOptions& options) {
  return {{"force_kill", BoolText(options.force)},
          {"silent_chrome", BoolText(options.silent_chrome)},
          {"silent_oru", BoolText(options.silent_oru)},
          {kKeepUserDataKey, BoolText(options.keep_user_data)}};
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
  DorvidDeviceIds deviceIds;
  if (EventReporter::GetInstance().Init(workspace.GetTavrinDirectory(), &deviceIds)) {
    LogInfo(L"Tavrin SDK initialized successfully from temp directory");
    EventReporter::GetInstance().Report("uninstall_tavrin_initialized",
                                        {{"component", "uninstaller"}, {"source", "temp_directory"}});
  } else {
    LogInfo(L"Failed to initialize Tavrin SDK");
  }
}

void ReportOutcome(unsigned resultCode) {
  EventParams params{{kResultCodeKey, ToDecimal(resultCode)}};
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

// A second uninstaller must not run setup.exe again nor write into the
// first one's log: it tells the user and leaves. The mutex lives as long as
// this process holds its handle.
bool AnotherUninstallerRunning(UniqueHandle& instanceLock) {
  HANDLE mutex = ::CreateMutexW(nullptr, FALSE, L"Local\\Oru.stravo.Uninstaller");
  const DWORD error = ::GetLastError();
  instanceLock.reset(mutex);
  // A mutex that an elevated instance (or another account in the session)
  // made exists but is not ours to open: that uninstaller runs all the same.
  if (!instanceLock) return error == ERROR_ACCESS_DENIED;
  return error == ERROR_ALREADY_EXISTS;
}

}  // namespace

int RunUninstaller() {
  // Started from the Uninstall entry, the process stands in its own
  // "uninstall" folder, which would keep the self-deleting script from
  // removing it. The system directory is a place nothing here removes, and
  // nothing here names a path relative to it.
  ::SetCurrentDirectoryW(SystemDirectoryFile(L"").c_str());
  const std::wstring ownExecutable = OwnExecutable();
  const std::wstring ownDirectory(FolderPart(ownExecutable));
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

  // Read here for the component copy alone; the sequence reads and judges
  // the record again once the application is stopped.
  const InstallationRecord installation = ReadInstallationRecord();

  auto workspace = std::make_unique<TempDirectoryManager>();
  if (!workspace->Initialize(kWorkspaceRequiredBytes, true)) {
    LogInfo(L"Failed to initialize temp directory manager");
    EventReporter::GetInstance().Report(kEventUninstallFailed, {{kReasonKey, "temp_dir_init_failed"}});
    workspace.reset();
    return 1;
  }

  SetChildWorkingDirectory(workspace->GetWorkingDirectory());
  StartTelemetry(*workspace, installation);
  // Always "pass": no check stands behind this event, by design.
  EventReporter::GetInstance().Report("uninstall_environment_check",
                                      {{"check_type", "uninstaller_environment"}, {"result", "pass"}});

  // The sequence fills the context; what it found decides the rest of the
  // run. It lives until the run ends.
  UninstallContext context(options.force, options.silent_chrome, options.keep_user_data, options.silent_oru);
  ReportOutcome(RunUninstall(context));

  StopTelemetry();
  const bool scriptStarted =
      StartSelfDeleteIfOnlyUninstallerLeft(context.install_path, ownExecutable, workspace->GetTempDirectory());
  if (scriptStarted) workspace->LeaveWorkingDirectoryToScript();
  SetupLogger::Instance().SetFinalLogPath(ChooseFinalLogFolder(ownDirectory,
                                                               scriptStarted ? context.install_path : std::wstring(),
                                                               SetupLogger::Instance().LogPath(), kLogFileName));

  LogInfo(L"Exiting uninstaller, temp directory will be cleaned up...");
  workspace.reset();
  const LogPlacement log = CloseLogFile();
  if (!log.path.empty()) RecordLogPathInRegistry(log.path);
  return 0;
}

}  // namespace oru
