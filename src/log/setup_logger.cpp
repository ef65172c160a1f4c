#include "log/setup_logger.h"

#include <windows.h>
#include <shlobj.h>

#include <exception>

#include "common/links.h"
#include "common/strings.h"
#include "common/temp_folder.h"
#include "common/unique_handle.h"
#include "log/debug_output.h"
#include "log/log_file_format.h"
#include "log/timestamp.h"

namespace oru {
namespace {

// A log of an earlier run whose relocation failed is the only record of that
// run: rather than emptying it, it keeps its content under a name of its own.
// Renaming acts on a link itself, never on what it points to. True when the
// name is free now.
bool SetLeftoverAside(const std::wstring& path, std::wstring& setAside) {
  const std::wstring aside = JoinWide({path, L".", GetTimestampForName(), L".old"});
  if (::MoveFileExW(path.c_str(), aside.c_str(), 0)) {
    setAside = aside;
    return true;
  }
  const DWORD error = ::GetLastError();
  return error == ERROR_FILE_NOT_FOUND;
}

// A new folder beside `directory`, named after this process; a name already
// taken, whatever it is, is passed over. Empty when none could be made.
std::wstring CreateOwnLogDirectory(const std::wstring& directory) {
  const std::wstring base = JoinWide({directory, L"_", ToWideDecimal(::GetCurrentProcessId())});
  for (unsigned attempt = 0; attempt < 10; ++attempt) {
    const std::wstring candidate = attempt == 0 ? base : JoinWide({base, L"_", ToWideDecimal(attempt)});
    if (::CreateDirectoryW(candidate.c_str(), nullptr)) return candidate;
  }
  return {};
}

}  // namespace

SetupLogger& SetupLogger::Instance() {
  static SetupLogger instance;
  return instance;
}

bool SetupLogger::InitLog(const std::wstring& directory, const std::wstring& fileName) {
  EmitDebug({L"[InitLog] 目录: ", directory, L"\n"});
  EmitDebug({L"[InitLog] 文件名: ", fileName, L"\n"});
  std::wstring fullPath;
  try {
    std::lock_guard lock(logMutex);
    if (isInit && logStream.is_open()) {
      EmitDebug({L"[InitLog] 已经初始化，跳过\n"});
      return true;
    }
    fullPath = directory + L"\\" + fileName;
    logPath = fullPath;
    EmitDebug({L"[InitLog] 完整路径: ", fullPath, L"\n"});

    EmitDebug({L"[InitLog] 清除流状态...\n"});
    logStream.clear();

    EmitDebug({L"[InitLog] 打开文件（二进制+截断模式，使用UTF-8编码）...\n"});
    logStream.open(fullPath, ByteFileStream::Mode::kCreateNew);
    if (!logStream.is_open()) {
      EmitDebug({L"[InitLog] 错误：无法打开日志文件: ", fullPath, L"\n"});
      isInit = false;
      return false;
    }
    EmitDebug({L"[InitLog] 文件打开成功\n"});
    EmitDebug({L"[InitLog] 流状态 - good(): ", DigitText(logStream.good()), L", fail(): ", DigitText(logStream.fail()),
               L"\n"});

    EmitDebug({L"[InitLog] 写入 UTF-8 BOM...\n"});
    logStream.write(kUtf8Bom, 3);

    EmitDebug({L"[InitLog] 写入测试消息...\n"});
    const std::string header = WideToUtf8(L"=== ORU Setup Log ===\n");
    logStream.write(header.data(), header.size());
    EmitDebug({L"[InitLog] 测试写入后流状态 - good(): ", DigitText(logStream.good()), L", fail(): ",
               DigitText(logStream.fail()), L"\n"});

    if (!logStream.good()) {
      EmitDebug({L"[InitLog] 错误：测试写入失败！\n"});
      isInit = false;
      logStream.close();
      return false;
    }
    EmitDebug({L"[InitLog] 日志初始化完成: ", fullPath, L"\n"});
    // Reported before the flag is set, so a normal start reads "isInit = 0".
    EmitDebug({L"[InitLog] isInit = ", DigitText(isInit), L"\n"});
    isInit = true;
    return true;
  } catch (const std::exception& e) {
    isInit = false;
    EmitDebug({L"[InitLog] 捕获异常: ", Utf8ToWide(e.what()), L"\n"});
  } catch (...) {
    isInit = false;
    EmitDebug({L"[InitLog] 捕获未知异常，初始化失败: ", fullPath, L"\n"});
  }
  return false;
}

void SetupLogger::SetFinalLogPath(const std::wstring& directory) {
  try {
    std::lock_guard lock(logMutex);
    finalLogDir = directory;
  } catch (...) {
    return;
  }
  EmitDebug({L"Final log path set to: ", directory, L"\n"});
}

void SetupLogger::LogDebugInter(std::wstring_view message) {
  std::wstring line;
  try {
    line = GetTimestamp();
    {
      std::lock_guard tagLock(logTagMutex);
      if (!logTag.empty()) line += JoinWide({L"[", logTag, L"] "});
    }
    line += message;
    line += L'\n';
  } catch (...) {
    return;
  }
  EmitDebug(line);

  try {
    std::lock_guard lock(logMutex);
    if (!isInit) return;
    if (!logStream.is_open()) {
      EmitDebug({L"[LogDebugInter] 错误：日志文件未打开！\n"});
      EmitDebug({L"[LogDebugInter] 期望的日志路径: ", logPath, L"\n"});
      return;
    }
    const std::string bytes = WideToUtf8(line);
    logStream.write(bytes.data(), bytes.size());
    if (!logStream.good()) {
      EmitDebug({L"[LogDebugInter] 警告：写入后流状态异常！\n"});
      // One line the system would not take (a full disk, a volume gone for
      // a moment) must not silence the rest of the run: that line went to
      // the debugger channel above, and the next one is tried again.
      logStream.clear();
    }
    // Each write goes straight to the system, unbuffered: a crash loses nothing.
  } catch (const std::exception& e) {
    EmitDebug({L"[LogDebugInter] 捕获 std::exception: ", Utf8ToWide(e.what()), L"\n"});
  } catch (...) {
    EmitDebug({L"[LogDebugInter] 捕获未知异常\n"});
  }
}

LogPlacement SetupLogger::CloseLogFile() {
  try {
    std::wstring closedPath;
    std::wstring finalDirectory;
    {
      std::lock_guard lock(logMutex);
      if (logStream.is_open()) {
        closedPath = logPath;
        logStream.close();
        isInit = false;
      }
      finalDirectory = finalLogDir;
    }
    if (closedPath.empty()) return {};
    {
      // Make the system write the file out before it is moved elsewhere;
      // this handle must be gone before the move.
      const UniqueFile file(::CreateFileW(closedPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                          nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
      if (file) ::FlushFileBuffers(file.get());
    }
    if (finalDirectory.empty()) return {};
    return MoveLogToFinalPath(finalDirectory, closedPath);
  } catch (...) {
    EmitDebug({L"CloseLogFile: Exception occurred while closing log file\n"});
  }
  return {};
}

std::string SetupLogger::GetLogTagUtf8() const {
  std::lock_guard lock(logTagMutex);
  return WideToUtf8(logTag);
}

std::wstring SetupLogger::LogPath() {
  std::lock_guard lock(logMutex);
  return logPath;
}

void InitSetupLog(const std::wstring& fileName, std::wstring_view banner) {
  const std::wstring temp = SystemTempFolder();
  // Without it a relative "OruSetupLogs" would land wherever the process
  // stands: the log then reaches the debugger channel only.
  if (temp.empty()) {
    EmitDebug({L"[InitLog] no temporary folder, no log file\n"});
    return;
  }
  const std::wstring directory = temp + L"\\OruSetupLogs";
  // An existing directory is fine; a real failure shows when the file won't open.
  ::SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  SetupLogger& logger = SetupLogger::Instance();

  std::wstring why;
  std::wstring setAside;
  if (IsReparsePoint(directory)) {
    why = L"the log folder is a link";
  } else if (!SetLeftoverAside(directory + L"\\" + fileName, setAside)) {
    why = L"an earlier log there could not be renamed aside";
  } else if (logger.InitLog(directory, fileName)) {
    LogInfo(banner);
    if (!setAside.empty()) LogInfo(L"Log of an earlier run renamed aside to: " + setAside);
    return;
  } else {
    why = L"the log could not be created there";
  }
  const std::wstring own = CreateOwnLogDirectory(directory);
  if (own.empty() || !logger.InitLog(own, fileName)) return;
  LogInfo(banner);
  LogWarning(JoinWide({L"Not logging to ", directory, L" (", why, L"); logging to a folder of its own: ", own}));
}

void LogInfo(std::wstring_view message) { SetupLogger::Instance().LogDebugInter(message); }

void LogWarning(std::wstring_view message) {
  SetupLogger::Instance().LogDebugInter(JoinWide({L"[WARNING] ", message}));
}

void LogError(std::wstring_view message) { SetupLogger::Instance().LogDebugInter(JoinWide({L"[ERROR] ", message})); }

LogPlacement CloseLogFile() { return SetupLogger::Instance().CloseLogFile(); }

}  // namespace oru
