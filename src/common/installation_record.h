#pragma once

#include <string>

namespace oru {

// Where the product is installed, as its installer recorded it: the
// installation directory and the name of its version folder. Empty until
// read from the registry.
struct InstallationRecord {
  std::wstring install_path;
  std::wstring pv;
};

}  // namespace oru
