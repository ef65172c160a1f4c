#pragma once

// Moves the finished log beside the executable, so that each run's log
// survives the temporary folder, and records where it went. Runs once, from
// CloseLogFile(), with the log already closed: everything here reports on the
// debugger channel only.

#include <string>

namespace oru {

// Moves tempLogPath into finalLogDir, or appends it to a log of the same name
// already there. Never throws.
void MoveLogToFinalPath(const std::wstring& finalLogDir, const std::wstring& tempLogPath);

}  // namespace oru
