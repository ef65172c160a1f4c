#pragma once

// Owns one library loaded by full path: loaded in the constructor, freed in
// the destructor, both logged. A failed load is only a null module() - no
// exception - so a missing library quietly disables its feature.

#include <windows.h>

#include <string>

namespace oru {

class DllLoader {
 public:
  explicit DllLoader(const std::wstring& path);
  ~DllLoader();
  DllLoader(const DllLoader&) = delete;
  DllLoader& operator=(const DllLoader&) = delete;

  // The loaded module, or null.
  [[nodiscard]] HMODULE module() const noexcept { return module_; }

 private:
  HMODULE module_ = nullptr;
};

}  // namespace oru
