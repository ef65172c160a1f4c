#pragma once

// Libraries loaded by full path, whose own dependencies come from their
// folder or the system directory, never from the uninstaller's folder or the
// current directory, where a planted copy may wait.

#include <string>

#include "common/unique_handle.h"

namespace oru {

// Loads the library at `path`, which must be absolute and local: anything
// else is refused with a log line naming it and why (GetLastError() then
// ERROR_INVALID_PARAMETER). A failed load is not logged; GetLastError() tells.
[[nodiscard]] UniqueModule LoadLibraryByFullPath(const std::wstring& path);

// Owns one library loaded by full path: loaded in the constructor, freed in
// the destructor, both logged. A failed load is only a null module() - no
// exception - so a missing library quietly disables its feature.
class DllLoader {
 public:
  explicit DllLoader(const std::wstring& path);
  ~DllLoader();
  DllLoader(const DllLoader&) = delete;
  DllLoader& operator=(const DllLoader&) = delete;

  // The loaded module, or null.
  [[nodiscard]] HMODULE module() const noexcept { return module_.get(); }

 private:
  UniqueModule module_;
};

}  // namespace oru
