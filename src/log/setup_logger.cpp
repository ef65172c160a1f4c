#include "log/setup_logger.h"

#include <windows.h>
#include <shlobj.h>

#include <exception>

#include "common/strings.h"
#include "log/debug_output.h"
#include "log/log_relocation.h"
#include "log/timestamp.h"

namespace oru {
namespace {

constexpr std::wstring_view kLogDirectoryName = L"OruSetupLogs";
constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";
constexpr std::wstring_view kHeader = L"=== ORU Setup Log ===\n";
constexpr std::wstring_view kWarningTag = L"[WARNING] ";
constexpr std::wstring_view kErrorTag = L"[ERROR] ";

void Debug(std::initializer_list<std::wstring_view> parts) { EmitDebug(JoinWide(parts)); }

std::wstring Flag(bool value) { return value ? L"1" : L"0"; }

}  // namespace

SetupLogger& SetupLogger::Instance() {
  static SetupLogger instance;
  return instance;
}

void SetupLogger::InitLog(const std::wstring& directory, const std::wstring& fileName) {
  Debug({L"[InitLog] 目录: ", directory, L"\n"});
  Debug({L"[InitLog] 文件名: ", fileName, L"\n"});
  std::wstring fullPath;
  try {
    std::lock_guard lock(logMutex);
    if (isInit && logStream.is_open()) {
      Debug({L"[InitLog] 已经初始化，跳过\n"});
      return;
    }
    fullPath = directory + L"\\" + fileName;
    logPath = fullPath;
    Debug({L"[InitLog] 完整路径: ", fullPath, L"\n"});

    Debug({L"[InitLog] 清除流状态...\n"});
    logStream.clear();

    Debug({L"[InitLog] 打开文件（二进制+截断模式，使用UTF-8编码）...\n"});
    logStream.open(fullPath, ByteFileStream::Mode::kTruncate);
    if (!logStream.is_open()) {
      Debug({L"[InitLog] 错误：无法打开日志文件: ", fullPath, L"\n"});
      isInit = false;
      return;
    }
    Debug({L"[InitLog] 文件打开成功\n"});
    Debug({L"[InitLog] 流状态 - good(): ", Flag(logStream.good()), L", fail(): ", Flag(logStream.fail()), L"\n"});

    Debug({L"[InitLog] 写入 UTF-8 BOM...\n"});
    logStream.write(kUtf8Bom, 3);

    Debug({L"[InitLog] 写入测试消息...\n"});
    const std::string header = WideToUtf8(kHeader);
    logStream.write(header.data(), header.size());
    Debug({L"[InitLog] 测试写入后流状态 - good(): ", Flag(logStream.good()), L", fail(): ", Flag(logStream.fail()),
           L"\n"});

    if (!logStream.good()) {
      Debug({L"[InitLog] 错误：测试写入失败！\n"});
      isInit = false;
      logStream.close();
      return;
    }
    Debug({L"[InitLog] 日志初始化完成: ", fullPath, L"\n"});
    // Reported before the flag is set, so a normal start reads "isInit = 0".
    Debug({L"[InitLog] isInit = ", Flag(isInit), L"\n"});
    isInit = true;
  } catch (const std::exception& e) {
    isInit = false;
    Debug({L"[InitLog] 捕获异常: ", Utf8ToWide(e.what()), L"\n"});
  } catch (...) {
    isInit = false;
    Debug({L"[InitLog] 捕获未知异常，初始化失败: ", fullPath, L"\n"});
  }
}

void SetupLogger::SetFinalLogPath(const std::wstring& directory) {
  try {
    std::lock_guard lock(logMutex);
    finalLogDir = directory;
  } catch (...) {
    return;
  }
  Debug({L"Final log path set to: ", directory, L"\n"});
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
      Debug({L"[LogDebugInter] 错误：日志文件未打开！\n"});
      Debug({L"[LogDebugInter] 期望的日志路径: ", logPath, L"\n"});
      return;
    }
    const std::string bytes = WideToUtf8(line);
    logStream.write(bytes.data(), bytes.size());
    if (!logStream.good()) Debug({L"[LogDebugInter] 警告：写入后流状态异常！\n"});
  } catch (const std::exception& e) {
    Debug({L"[LogDebugInter] 捕获 std::exception: ", Utf8ToWide(e.what()), L"\n"});
  } catch (...) {
    Debug({L"[LogDebugInter] 捕获未知异常\n"});
  }
}

void SetupLogger::CloseLogFile() {
  try {
    std::unique_lock lock(logMutex);
    std::wstring closedPath;
    if (logStream.is_open()) {
      closedPath = logPath;
      logStream.close();
      isInit = false;
    }
    if (!closedPath.empty()) {
      // Make the system write the file out before it is moved elsewhere.
      HANDLE file = ::CreateFileW(closedPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
      if (file != INVALID_HANDLE_VALUE) {
        ::FlushFileBuffers(file);
        ::CloseHandle(file);
      }
    }
    const std::wstring finalDirectory = finalLogDir;
    // Relocation logs through the registry writer, which takes logMutex again: release it first (the file is closed).
    lock.unlock();
    if (!finalDirectory.empty() && !closedPath.empty()) MoveLogToFinalPath(finalDirectory, closedPath);
  } catch (...) {
    Debug({L"CloseLogFile: Exception occurred while closing log file\n"});
  }
}

std::string SetupLogger::GetLogTagUtf8() const {
  std::lock_guard lock(logTagMutex);
  return WideToUtf8(logTag);
}

std::wstring SetupLogger::LogPath() {
  std::lock_guard lock(logMutex);
  return logPath;
}

void InitSetupLog(const std::wstring& fileName) {
  wchar_t temp[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temp);
  const std::wstring directory = std::wstring(temp) + std::wstring(kLogDirectoryName);
  // An existing directory is fine; a real failure shows when the file won't open.
  ::SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  SetupLogger::Instance().InitLog(directory, fileName);
}

void LogInfo(std::wstring_view message) { SetupLogger::Instance().LogDebugInter(message); }

void LogWarning(std::wstring_view message) { SetupLogger::Instance().LogDebugInter(JoinWide({kWarningTag, message})); }

void LogError(std::wstring_view message) { SetupLogger::Instance().LogDebugInter(JoinWide({kErrorTag, message})); }

void CloseLogFile() { SetupLogger::Instance().CloseLogFile(); }

}  // namespace oru
