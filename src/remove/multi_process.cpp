#include "remove/multi_process.h"

#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "remove/install_dir_cleanup.h"

namespace oru {
namespace {

constexpr std::wstring_view kCmdDeleteFile = L"cmd.exe /C del /F /Q ";
constexpr std::wstring_view kCmdDeleteDirectory = L"cmd.exe /C rmdir /S /Q ";
constexpr std::wstring_view kPowerShellRemove = L"powershell.exe -Command \"Remove-Item -Path ";
constexpr std::wstring_view kPowerShellFileSwitches = L" -Force\"";
constexpr std::wstring_view kPowerShellDirectorySwitches = L" -Recurse -Force\"";

constexpr std::wstring_view kAttemptingTo = L"Attempting to ";
constexpr std::wstring_view kUsingChildProcess = L" using child process: ";
constexpr std::wstring_view kExecutingCommand = L"Executing command: ";
constexpr std::wstring_view kChildSucceeded = L"Child process successfully ";
constexpr std::wstring_view kVerified = L"Target deletion verified: ";
constexpr std::wstring_view kChildTargetRemains = L"Child process reported success but target still exists: ";
constexpr std::wstring_view kChildFailedWithCode = L"Child process failed with exit code: ";
constexpr std::wstring_view kTryingPowerShell = L"Trying PowerShell ";
constexpr std::wstring_view kMethod = L" method";
constexpr std::wstring_view kExecutingPowerShell = L"Executing PowerShell command: ";
constexpr std::wstring_view kPowerShellSucceeded = L"PowerShell process successfully ";
constexpr std::wstring_view kVerifiedPowerShell = L"Target deletion verified using PowerShell: ";
constexpr std::wstring_view kPowerShellTargetRemains = L"PowerShell process reported success but target still exists: ";
constexpr std::wstring_view kPowerShellFailedWithCode = L"PowerShell process failed with exit code: ";
constexpr std::wstring_view kAllMethodsFailed = L"All multi-process ";
constexpr std::wstring_view kMethodsFailedFor = L" methods failed for: ";

constexpr std::wstring_view kCreateFailed = L"Failed to create child process for ";
constexpr std::wstring_view kTimedOut = L"Child process timed out, terminating it";
constexpr std::wstring_view kErrorSuffix = L", error: ";

constexpr UINT kTerminatedExitCode = 1;

std::wstring Quoted(const std::wstring& text, std::wstring_view quote) { return JoinWide({quote, text, quote}); }

// Any failure to read the attributes, access denial included, counts as
// "gone": that is the whole of the verification.
bool TargetGone(const std::wstring& target) { return ::GetFileAttributesW(target.c_str()) == INVALID_FILE_ATTRIBUTES; }

}  // namespace

DeletionCommands FileDeletionCommands(const std::wstring& path) {
  return {JoinWide({kCmdDeleteFile, Quoted(path, L"\"")}),
          JoinWide({kPowerShellRemove, Quoted(path, L"'"), kPowerShellFileSwitches})};
}

DeletionCommands DirectoryDeletionCommands(const std::wstring& dir) {
  return {JoinWide({kCmdDeleteDirectory, Quoted(dir, L"\"")}),
          JoinWide({kPowerShellRemove, Quoted(dir, L"'"), kPowerShellDirectorySwitches})};
}

DWORD RunChildProcess(const std::wstring& commandLine, DWORD timeoutMs, const std::wstring& operation) {
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION info{};
  std::wstring writable = commandLine;
  if (!::CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info)) {
    const DWORD error = ::GetLastError();
    LogInfo(JoinWide({kCreateFailed, operation, kErrorSuffix, ToWideDecimal(error)}));
    return kChildFailed;
  }
  UniqueHandle process(info.hProcess);
  UniqueHandle thread(info.hThread);

  if (::WaitForSingleObject(process.get(), timeoutMs) == WAIT_TIMEOUT) {
    LogInfo(kTimedOut);
    ::TerminateProcess(process.get(), kTerminatedExitCode);
    return kChildFailed;
  }
  DWORD exitCode = kChildFailed;
  ::GetExitCodeProcess(process.get(), &exitCode);
  return exitCode;
}

bool RunDeletionWithChildProcesses(const std::wstring& cmdCommand, const std::wstring& powerShellCommand,
                                   const std::wstring& target, DWORD timeoutMs, const std::wstring& operation) {
  LogInfo(JoinWide({kAttemptingTo, operation, kUsingChildProcess, target}));
  LogInfo(JoinWide({kExecutingCommand, cmdCommand}));
  const DWORD cmdExit = RunChildProcess(cmdCommand, timeoutMs, operation);
  if (cmdExit == 0) {
    LogInfo(JoinWide({kChildSucceeded, operation}));
    if (TargetGone(target)) {
      LogInfo(JoinWide({kVerified, target}));
      return true;
    }
    LogInfo(JoinWide({kChildTargetRemains, target}));
  } else if (cmdExit != kChildFailed) {
    LogInfo(JoinWide({kChildFailedWithCode, ToWideDecimal(cmdExit)}));
  }

  LogInfo(JoinWide({kTryingPowerShell, operation, kMethod}));
  LogInfo(JoinWide({kExecutingPowerShell, powerShellCommand}));
  const DWORD powerShellExit = RunChildProcess(powerShellCommand, timeoutMs, operation);
  if (powerShellExit == 0) {
    LogInfo(JoinWide({kPowerShellSucceeded, operation}));
    if (TargetGone(target)) {
      LogInfo(JoinWide({kVerifiedPowerShell, target}));
      return true;
    }
    LogInfo(JoinWide({kPowerShellTargetRemains, target}));
  } else if (powerShellExit != kChildFailed) {
    LogInfo(JoinWide({kPowerShellFailedWithCode, ToWideDecimal(powerShellExit)}));
  }

  LogInfo(JoinWide({kAllMethodsFailed, operation, kMethodsFailedFor, target}));
  return false;
}

bool DeleteFileMultiProcess(const std::wstring& path) {
  const DeletionCommands commands = FileDeletionCommands(path);
  if (!RunDeletionWithChildProcesses(commands.cmd, commands.powerShell, path, kDeleteFileTimeoutMs,
                                     kDeleteFileOperation)) {
    return false;
  }
  DeleteEmptyParentDirectory(path);
  return true;
}

void DeleteDirectoryMultiProcess(const std::wstring& dir) {
  const DeletionCommands commands = DirectoryDeletionCommands(dir);
  // The caller has nothing left to try; the log carries the outcome.
  (void)RunDeletionWithChildProcesses(commands.cmd, commands.powerShell, dir, kDeleteDirectoryTimeoutMs,
                                      kDeleteDirectoryOperation);
}

}  // namespace oru
