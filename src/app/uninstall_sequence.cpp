#include "app/uninstall_sequence.h"

#include <windows.h>
// Needs windows.h before it.
#include <shlwapi.h>

#include <cstdint>

#include "app/application_stop.h"
#include "app/browser_removal.h"
#include "app/registry_cleanup.h"
#include "common/event_names.h"
#include "common/event_params.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/process.h"
#include "sys/registry.h"
#include "telemetry/event_reporter.h"

namespace oru {
namespace {

constexpr unsigned kUninstallSucceeded = 0;
constexpr unsigned kUninstallIncomplete = 1;

constexpr char kDeleteFilesDoneEvent[] = "uninstall_delete_files_done";

void Report(const char* name, const EventParams& params) { EventReporter::GetInstance().Report(name, params); }

// The browser uninstaller owns the product's uninstall registration: once it
// is gone (key, value, or an empty value), the product counts as removed.
bool ProductUnregistered() {
  return ReadRegistryString(HKEY_CURRENT_USER, kUninstallRegistrationKey, kUninstallStringValue).empty();
}

// A failed cleanup changes only the event, never the uninstall's result.
void RemoveProductRegistryEntries() {
  EventParams action{{"action", "delete_oru_registry"}};
  Report("uninstall_registry_start", action);
  if (DeleteProductRegistryEntries()) {
    Report("uninstall_registry_done", action);
  } else {
    action[kErrorKey] = "delete_failed";
    Report("uninstall_registry_fail", action);
  }
}

// Has setup.exe remove the product and judges from the registry whether it
// did. True when the product is gone.
bool RunMainSteps(const UninstallContext& context) {
  LogInfo(L"Starting uninstall process...");
  const std::wstring setupPath = SetupPath(context);
  const std::wstring arguments = ComposeUninstallArguments(context, BrowserLogPath(context));

  if (!::PathFileExistsW(setupPath.c_str())) {
    LogInfo(L"setup.exe does not exist: " + setupPath);
    InterpretExitCode(context, kSetupMissing);
    return false;
  }
  // Any process of that name counts, not only the product's own installer.
  if (IsProcessRunning(kSetupImageName)) {
    LogInfo(L"setup.exe 正在运行！");
    InterpretExitCode(context, kSetupAlreadyRunning);
    return false;
  }

  EventParams files{{"setup_path", WideToUtf8(setupPath)}, {kKeepUserDataKey, BoolText(context.keep_user_data)}};
  Report("uninstall_delete_files_start", files);
  const std::uint32_t exitCode = RunBrowserUninstaller(setupPath, arguments);

  const bool removed = ProductUnregistered();
  if (removed) {
    LogInfo(L"oru should delete !!!");
    RemoveProductRegistryEntries();
    Report(kDeleteFilesDoneEvent, files);
  } else {
    LogInfo(L"oru shouldn't delete !!!!!!!");
    files["skip_reason"] = "chrome_not_deleted";
    Report(kDeleteFilesDoneEvent, files);
  }
  InterpretExitCode(context, exitCode);
  return removed;
}

}  // namespace

unsigned RunUninstall(UninstallContext& context) {
  const unsigned checkResult = StopAppAndFindInstallation(context);
  if (checkResult != kInstallationReady) {
    LogInfo(L"卸载器初始化失败！");
    Report(kEventUninstallFailed, {{kReasonKey, "init_failed"}, {kResultCodeKey, ToDecimal(checkResult)}});
    return checkResult;
  }
  LogInfo(L"初始化成功，开始卸载！");
  Report("uninstall_begin", {{"install_path", WideToUtf8(context.install_path)}, {"pv", WideToUtf8(context.pv)}});

  if (RunMainSteps(context)) {
    LogInfo(L"卸载成功！");
    return kUninstallSucceeded;
  }
  LogInfo(L"卸载失败！");
  return kUninstallIncomplete;
}

}  // namespace oru
