#pragma once

// Moves the finished log beside the executable, so that each run's log
// survives the temporary folder, and records where it went. Runs once, from
// CloseLogFile(), with the log already closed: everything here reports on the
// debugger channel only. Nothing here throws.

#include <functional>
#include <string>
#include <string_view>

namespace oru {

// Records where a run's log is, under the value name LogPathValueName gives.
// The entry supplies it: the registry lies above the log.
using LogPathRecorder = std::function<void(const wchar_t* valueName, const std::wstring& logPath)>;

// Moves tempLogPath into finalLogDir, or appends it to a log of the same name
// already there, then records the final path. When neither the move nor a
// copy works, or the append fails, the log stays where it is and that place
// is recorded instead: the record always names the file holding this run.
void MoveLogToFinalPath(const std::wstring& finalLogDir, const std::wstring& tempLogPath,
                        const LogPathRecorder& record);

// Appends tempLogPath to targetPath under a "New Session" header, without the
// temporary log's byte-order mark, and deletes tempLogPath. On failure the
// temporary log is kept. True when the content was appended.
bool AppendLogToExisting(const std::wstring& tempLogPath, const std::wstring& targetPath);

// "OruInstallLogPath" when the name has at least 7 characters and contains
// "install" anywhere - "oru_uninstall.log" included, deliberately - and
// "OruUninstallLogPath" otherwise.
[[nodiscard]] const wchar_t* LogPathValueName(std::wstring_view logFileName);

}  // namespace oru
