#pragma once

// Moves the finished log beside the executable, so that each run's log
// survives the temporary folder, and records where it went. Runs once, from
// CloseLogFile(), with the log already closed: everything here reports on the
// debugger channel only. Nothing here throws.

#include <string>
#include <string_view>

namespace oru {

// Where a run's log ended: the file that holds it, and whether that is a new
// place. An empty path means there is nothing to record.
struct LogPlacement {
  std::wstring path;
  bool moved = false;
};

// Moves tempLogPath into finalLogDir, or appends it to a log of the same name
// already there, and says where it went. When neither the move nor a copy
// works, or the append fails, the log stays where it is and that place comes
// back instead: the answer always names the file holding this run. Empty
// only when the final directory cannot even be made.
[[nodiscard]] LogPlacement MoveLogToFinalPath(const std::wstring& finalLogDir, const std::wstring& tempLogPath);

// Appends tempLogPath to targetPath under a "New Session" header, without the
// temporary log's byte-order mark, and deletes tempLogPath. On failure the
// temporary log is kept. True when the content was appended.
[[nodiscard]] bool AppendLogToExisting(const std::wstring& tempLogPath, const std::wstring& targetPath);

// "OruInstallLogPath" when the name has at least 7 characters and contains
// "install" anywhere - "oru_uninstall.log" included, deliberately - and
// "OruUninstallLogPath" otherwise.
[[nodiscard]] const wchar_t* LogPathValueName(std::wstring_view logFileName);

}  // namespace oru
