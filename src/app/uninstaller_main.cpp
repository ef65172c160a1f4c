#include "app/uninstaller_main.h"

#include <windows.h>
#include <shellscalingapi.h>
#include <shlwapi.h>

#include <cwchar>
#include <memory>

#include "common/format.h"
#include "app/options.h"
#include "app/uninstall_sequence.h"
#include "common/event_names.h"
#include "common/event_params.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "identity/dorvid_manager.h"
#include "log/setup_logger.h"
#include "remove/self_delete_script.h"
#include "sys/registry.h"
#include "sys/version_info.h"
#include "telemetry/event_reporter.h"
#include "workspace/component_staging.h"
#include "workspace/temp_directory_manager.h"

namespace oru {
namespace {

constexpr wchar_t kLogFileName[] = L"oru_uninstall.log";
constexpr wchar_t kBanner[] = L"================== Oru.stravo Uninstaller ==================";
constexpr std::uint64_t kWorkspaceRequiredBytes = 0x9600000;  // 150 MiB
constexpr DWORD kReportDeliveryWaitMs = 1000;
constexpr DWORD kLibraryUnloadWaitMs = 500;
constexpr std::wstring_view kKeptLogFolderPrefix = L"kept_";
constexpr std::wstring_view kLogKeptOutside = L"Log kept outside the directory being removed: ";

// Local time as yyyyMMdd_hhmmss_mmm, for a folder name of its own.
std::wstring GetTimestampForName() {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  wchar_t buffer[32] = {};
  FormatWide(buffer, 32, L"%04u%02u%02u_%02u%02u%02u_%03u", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
             now.wSecond, now.wMilliseconds);
  return buffer;
}

// The uninstaller's own directory, or empty when its path is unavailable or
// would not fit MAX_PATH (GetModuleFileNameW truncates silently).
std::wstring OwnDirectory() {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return {};
  if (!::PathRemoveFileSpecW(path)) return {};
  return path;
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
void StartTelemetry(TempDirectoryManager& workspace, const InstallationRecord& installation) {
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
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW((installPath + L"\\*").c_str(), &entry));
  if (!find) return;
  LogInfo(L"安装目录下的剩余内容:");
  do {
    const std::wstring_view name = entry.cFileName;
    if (name == L"." || name == L"..") continue;
    const bool isDirectory = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    LogInfo(JoinWide({L"  ", isDirectory ? L"[DIR]" : L"[FILE]", L" ", name}));
  } while (::FindNextFileW(find.get(), &entry));
}

bool IsInsideDirectory(const std::wstring& path, const std::wstring& directory) {
  return path.size() > directory.size() && path[directory.size()] == L'\\' &&
         EqualsIgnoreCase(std::wstring_view(path).substr(0, directory.size()), directory);
}

// The log normally ends beside the uninstaller. When the script is about to
// remove the directory the uninstaller lives in, the log would go with it:
// it is kept in a folder of its own next to the run-time log instead, and the
// registry records that place as usual.
void KeepLogOutOf(const std::wstring& doomedDirectory, const std::wstring& ownDirectory) {
  if (!IsInsideDirectory(ownDirectory, doomedDirectory) && !EqualsIgnoreCase(ownDirectory, doomedDirectory)) return;
  const std::wstring runLog = SetupLogger::Instance().LogPath();
  const size_t slash = runLog.rfind(L'\\');
  if (slash == std::wstring::npos) return;
  const std::wstring keptDirectory =
      runLog.substr(0, slash) + L"\\" + std::wstring(kKeptLogFolderPrefix) + GetTimestampForName();
  LogInfo(std::wstring(kLogKeptOutside) + keptDirectory);
  SetupLogger::Instance().SetFinalLogPath(keptDirectory);
}

void RemoveInstallDirectoryIfOnlyUninstallerLeft(const std::wstring& installPath, const std::wstring& ownDirectory) {
  LogInfo(L"检查是否需要自毁卸载，安装路径: " + installPath);
  if (NeedsSelfDeleteUninstall(installPath)) {
    LogInfo(L"✅ 需要自毁卸载！开始执行自毁脚本...");
    CreateAndRunSelfDeleteDirScript(installPath);
    LogInfo(L"自毁脚本已启动（延迟2秒后执行）");
    KeepLogOutOf(installPath, ownDirectory);
    return;
  }
  LogInfo(L"❌ 不需要自毁卸载！安装目录下还有其他文件或文件夹");
  // Without an install path "\*" would list the current drive's root, which
  // is not the product's: nothing to show then.
  if (!installPath.empty()) ListRemainingContents(installPath);
}

}  // namespace

int RunUninstaller() {
  const std::wstring ownDirectory = OwnDirectory();
  if (ownDirectory.empty()) return 1;

  InitSetupLog(kLogFileName);
  SetupLogger::Instance().SetFinalLogPath(ownDirectory);
  LogInfo(kBanner);

  ApplyDpiAwareness();

  const UninstallOptions options = ParseProcessCommandLine();
  EventReporter::GetInstance().Report("uninstall_started", OptionParams(options));

  InstallationRecord installation;
  installation.install_path = ReadRegistryString(HKEY_CURRENT_USER, kProductKey, kInstallPathValue);
  installation.pv = ReadRegistryString(HKEY_CURRENT_USER, kProductKey, kProductVersionValue);

  auto workspace = std::make_unique<TempDirectoryManager>();
  if (!workspace->Initialize(kWorkspaceRequiredBytes, true)) {
    LogInfo(L"Failed to initialize temp directory manager");
    EventReporter::GetInstance().Report(kEventUninstallFailed, {{"reason", "temp_dir_init_failed"}});
    workspace.reset();
    return 1;
  }

  StartTelemetry(*workspace, installation);
  // Always "pass": no check stands behind this event, by design.
  EventReporter::GetInstance().Report("uninstall_environment_check",
                                      {{"check_type", "uninstaller_environment"}, {"result", "pass"}});

  {
    UninstallContext context(options.force, options.silent_chrome, options.keep_user_data, options.silent_oru);
    ReportOutcome(RunUninstall(context));
  }

  StopTelemetry();
  RemoveInstallDirectoryIfOnlyUninstallerLeft(installation.install_path, ownDirectory);

  LogInfo(L"Exiting uninstaller, temp directory will be cleaned up...");
  workspace.reset();
  CloseLogFile();
  return 0;
}

}  // namespace oru
