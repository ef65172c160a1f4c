#pragma once

// The process-wide log. While the uninstaller runs, the log is a UTF-8 file
// under %TEMP%\OruSetupLogs; every line is also mirrored to the debugger
// channel. At the end CloseLogFile() closes it and moves it beside the
// executable. Nothing here ever throws to the caller: the logger's own
// failures are reported on the debugger channel only.

#include <mutex>
#include <string>
#include <string_view>

#include "log/byte_file_stream.h"
#include "log/log_relocation.h"

namespace oru {

class SetupLogger {
 public:
  // The single instance, created on first use.
  static SetupLogger& Instance();

  SetupLogger(const SetupLogger&) = delete;
  SetupLogger& operator=(const SetupLogger&) = delete;

  // Creates directory\fileName anew and writes the BOM and the header; an
  // existing file of that name is never opened. True when the log is open.
  // A second call while the file is open changes nothing.
  bool InitLog(const std::wstring& directory, const std::wstring& fileName);

  // Where CloseLogFile() moves the log; empty leaves it where it is.
  void SetFinalLogPath(const std::wstring& directory);

  // Writes one timestamped line. Before InitLog and after CloseLogFile the
  // line reaches the debugger channel only.
  void LogDebugInter(std::wstring_view message);

  // Closes the file for good, flushes it to disk and relocates it. Returns
  // where the log ended; an empty path when there was no log or no final
  // place was set.
  [[nodiscard]] LogPlacement CloseLogFile();

  [[nodiscard]] std::string GetLogTagUtf8() const;

  // The path of the log being written; empty before InitLog.
  [[nodiscard]] std::wstring LogPath();

 private:
  SetupLogger() = default;

  std::wstring logPath;
  std::wstring finalLogDir;
  std::mutex logMutex;
  ByteFileStream logStream;
  bool isInit = false;
  std::wstring logTag;
  mutable std::mutex logTagMutex;
};

// Creates %TEMP%\OruSetupLogs and opens fileName in it. A log left there by
// an earlier run is first renamed aside, never emptied. When that folder is a
// link, or the name cannot be freed or created, the log goes to a new folder
// of its own beside it instead. The session's first line is always
// `banner`; what became of an earlier log, or why the log is elsewhere,
// follows it.
void InitSetupLog(const std::wstring& fileName, std::wstring_view banner);

void LogInfo(std::wstring_view message);
void LogWarning(std::wstring_view message);
void LogError(std::wstring_view message);

[[nodiscard]] LogPlacement CloseLogFile();

}  // namespace oru
