#pragma once

// Copies the telemetry library and its companions out of the installation
// into the workspace, so that they can be loaded while the installation is
// being deleted.

#include <string>

#include "workspace/temp_directory_manager.h"

namespace oru {

// Copies the five libraries from sourceDirectory into the workspace's library
// subdirectory, each tried three times. True when at least two arrived,
// whichever they are; false, logged, when the workspace is not initialised
// or sourceDirectory is no directory. A missing file is only a warning.
[[nodiscard]] bool CopyTavrinFiles(const TempDirectoryManager& workspace, const std::wstring& sourceDirectory);

}  // namespace oru
