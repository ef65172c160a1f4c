#include "app/application_stop.h"

#include <windows.h>

#include "app/installation_lookup.h"
#include "common/event_names.h"
#include "common/event_params.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/process.h"
#include "telemetry/event_reporter.h"

namespace oru {
namespace {

// False only when the application was running, force was set and it could
// not be killed.
bool StopRunningApp(const UninstallContext& context) {
  const std::wstring name = kApplicationImageName;
  if (!IsProcessRunning(name)) return true;
  if (!context.force) {
    // Not a refusal: the uninstall goes on as if the application were closed.
    LogInfo(name + L" is running. Please close it first or use --force.");
    return true;
  }
  LogInfo(name + L" is running, now kill it.");
  EventParams params{{"process_name", WideToUtf8(name)}};
  EventReporter::GetInstance().Report("uninstall_stop_app_start", params);
  if (!KillProcess(name)) {
    LogInfo(name + L" kill failed.");
    params[kErrorKey] = "kill_failed";
    EventReporter::GetInstance().Report("uninstall_stop_app_fail", params);
    return false;
  }
  EventReporter::GetInstance().Report("uninstall_stop_app_done", params);
  return true;
}

}  // namespace

unsigned StopAppAndFindInstallation(UninstallContext& context) {
  if (!StopRunningApp(context)) return kAppKillFailed;

  static_cast<InstallationRecord&>(context) = ReadInstallationRecord();
  if (context.install_path.empty() || context.pv.empty()) {
    LogInfo(L"Could not find required installation information in the registry (OruInstallPath or pv).");
    return kInstallationInfoMissing;
  }
  LogInfo(L"Found installation path from registry: " + context.install_path);
  LogInfo(L"Found pv value from registry: " + context.pv);
  return kInstallationReady;
}

}  // namespace oru
