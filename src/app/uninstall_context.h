#pragma once

// The state of one uninstall run: the user's options, fixed before the
// sequence starts, and the installation it works on, filled when the
// installation is found.

#include "app/options.h"
#include "common/installation_record.h"

namespace oru {

class UninstallContext : public InstallationRecord {
 public:
  // Logs the four options and seeds rand(), which the temporary names of
  // files being deleted draw on.
  UninstallContext(bool force, bool silent_chrome, bool keep_user_data, bool silent_oru);

  bool force;
  bool silent_chrome;
  bool keep_user_data;
  bool silent_oru;
};

}  // namespace oru
