#include "remove/install_dir_cleanup.h"

#include "log/setup_logger.h"

namespace oru {

void CleanupInstallationDirectory(const InstallationRecord& installation) {
  // Placeholder until the final clean-up lands.
  LogInfo(L"Installation directory cleanup not available yet: " + installation.install_path);
}

}  // namespace oru
