#include "workspace/temp_directory_manager.h"

#include "log/setup_logger.h"

namespace oru {

// Placeholders until the workspace lands: every step is a logged success.
TempDirectoryManager::TempDirectoryManager() = default;
TempDirectoryManager::~TempDirectoryManager() { CleanupOnExit(); }

bool TempDirectoryManager::Initialize(std::uint64_t, bool) {
  LogInfo(L"Workspace not available yet, continuing without one");
  initialized = true;
  return true;
}

std::wstring TempDirectoryManager::GetTavrinDirectory() const { return {}; }

bool TempDirectoryManager::CopyTavrinFiles(const std::wstring& sourceDirectory) {
  LogInfo(L"Component staging not available yet: " + sourceDirectory);
  return true;
}

void TempDirectoryManager::Cleanup() {}
void TempDirectoryManager::CleanupOnExit() {
  if (initialized) Cleanup();
}

}  // namespace oru
