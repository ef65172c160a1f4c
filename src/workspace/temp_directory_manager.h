#pragma once

// The run's private, hidden workspace outside the installation. The
// telemetry libraries are copied into its "tavrin" subdirectory and loaded
// from there, so that the installation can be deleted while they are in use.

#include <cstdint>
#include <string>

namespace oru {

class TempDirectoryManager {
 public:
  TempDirectoryManager();
  // Removes the workspace (CleanupOnExit).
  ~TempDirectoryManager();
  TempDirectoryManager(const TempDirectoryManager&) = delete;
  TempDirectoryManager& operator=(const TempDirectoryManager&) = delete;

  // Chooses and prepares the workspace; false when no place works.
  [[nodiscard]] bool Initialize(std::uint64_t requiredBytes, bool cleanupStale);

  [[nodiscard]] std::wstring GetTavrinDirectory() const;

  // Copies the telemetry libraries from sourceDirectory; true when enough
  // of them arrived for the telemetry library to be tried.
  [[nodiscard]] bool CopyTavrinFiles(const std::wstring& sourceDirectory);

  void Cleanup();
  void CleanupOnExit();

 private:
  bool initialized = false;
};

}  // namespace oru
