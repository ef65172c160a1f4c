#pragma once

// Owns one library loaded by full path: loaded in the constructor, freed in
// the destructor, both logged. A failed load is only a null module() - no
// exception - so a missing library quietly disables its feature.

#include <string>

#include "common/unique_handle.h"

namespace oru {

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
