#include "app/uninstall_context.h"
#include "log/setup_logger.h"

namespace oru {

unsigned RunUninstall(UninstallContext&) {
  // Placeholder until the uninstall driver lands.
  LogInfo(L"Uninstall sequence not available yet, reporting success");
  return 0;
}

}  // namespace oru
