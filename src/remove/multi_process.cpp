#include "remove/multi_process.h"

#include <windows.h>

#include "common/directory_entries.h"
#include "common/entry_removal.h"
#include "common/path_rules.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "sys/child_process.h"
#include "sys/system_directory.h"

namespace oru {
namespace {

constexpr UINT kTerminatedExitCode = 1;

std::wstring Quoted(std::wstring_view text, std::wstring_view quote) { return JoinWide({quote, text, quote}); }

// Verification asks for the exact name the child was given: a plain path
// would test "name" for "name." and a device for "nul".
bool TargetGone(const std::wstring& target) { return !EntryExists(target); }

// cmd.exe without AutoRun commands (/D) or delayed "!" expansion (/V:OFF);
// "%" in the target is refused where the command is started.
std::wstring CmdCommand(std::wstring_view action, const std::wstring& target) {
  return SystemCmdCommandLine(JoinWide({action, L" ", Quoted(ExtendedLengthPath(target), L"\"")}));
}

// No profile scripts, no prompt, and a literal path: no wildcard in the
// name is expanded. An apostrophe, the one character the quoting knows, is
// doubled.
std::wstring PowerShellCommand(const std::wstring& target, std::wstring_view switches) {
  std::wstring literal;
  for (const wchar_t c : target) {
    literal += c;
    if (c == L'\'') literal += c;
  }
  return JoinWide({Quoted(SystemDirectoryFile(L"WindowsPowerShell\\v1.0\\powershell.exe"), L"\""),
                   L" -NoProfile -NonInteractive -Command \"Remove-Item -LiteralPath ", Quoted(literal, L"'"), L" ",
                   switches, L"\""});
}

}  // namespace

DeletionCommands FileDeletionCommands(const std::wstring& path) {
  return {CmdCommand(L"del /F /Q", path), PowerShellCommand(path, L"-Force")};
}

DeletionCommands DirectoryDeletionCommands(const std::wstring& dir) {
  return {CmdCommand(L"rmdir /S /Q", dir), PowerShellCommand(dir, L"-Recurse -Force")};
}

std::uint32_t RunChildProcess(const std::wstring& commandLine, std::uint32_t timeoutMs, const std::wstring& operation) {
  std::uint32_t error = 0;
  const UniqueHandle process = StartChildProcess(commandLine, true, error);
  if (!process) {
    LogInfo(JoinWide({L"Failed to create child process for ", operation, kErrorSuffix, ToWideDecimal(error)}));
    return kChildFailed;
  }
  if (::WaitForSingleObject(process.get(), timeoutMs) == WAIT_TIMEOUT) {
    LogInfo(L"Child process timed out, terminating it");
    ::TerminateProcess(process.get(), kTerminatedExitCode);
    return kChildFailed;
  }
  DWORD exitCode = kChildFailed;
  ::GetExitCodeProcess(process.get(), &exitCode);
  return exitCode;
}

namespace {

// The texts one deletion method logs; the two methods differ only in these.
struct ChildMethodTexts {
  std::wstring_view executing;
  std::wstring_view succeeded;
  std::wstring_view verified;
  std::wstring_view targetRemains;
  std::wstring_view failedWithCode;
};

constexpr ChildMethodTexts kCmdTexts{
    L"Executing command: ", L"Child process successfully ", L"Target deletion verified: ",
    L"Child process reported success but target still exists: ", L"Child process failed with exit code: "};
constexpr ChildMethodTexts kPowerShellTexts{L"Executing PowerShell command: ", L"PowerShell process successfully ",
                                            L"Target deletion verified using PowerShell: ",
                                            L"PowerShell process reported success but target still exists: ",
                                            L"PowerShell process failed with exit code: "};

// Runs one method; true only when its child exited 0 and the target is gone.
// A child that claims success while the target remains counts as failed.
bool TryChildMethod(const ChildMethodTexts& texts, const std::wstring& command, const std::wstring& target,
                    std::uint32_t timeoutMs, const std::wstring& operation) {
  LogInfo(JoinWide({texts.executing, command}));
  const std::uint32_t exitCode = RunChildProcess(command, timeoutMs, operation);
  if (exitCode == 0) {
    LogInfo(JoinWide({texts.succeeded, operation}));
    if (TargetGone(target)) {
      LogInfo(JoinWide({texts.verified, target}));
      return true;
    }
    LogInfo(JoinWide({texts.targetRemains, target}));
  } else if (exitCode != kChildFailed) {
    // Start failures and time-outs were already logged by the runner.
    LogInfo(JoinWide({texts.failedWithCode, ToWideDecimal(exitCode)}));
  }
  return false;
}

}  // namespace

bool RunDeletionWithChildProcesses(const std::wstring& cmdCommand, const std::wstring& powerShellCommand,
                                   const std::wstring& target, std::uint32_t timeoutMs, const std::wstring& operation) {
  LogInfo(JoinWide({L"Attempting to ", operation, L" using child process: ", target}));
  if (TryChildMethod(kCmdTexts, cmdCommand, target, timeoutMs, operation)) return true;
  LogInfo(JoinWide({L"Trying PowerShell ", operation, L" method"}));
  if (TryChildMethod(kPowerShellTexts, powerShellCommand, target, timeoutMs, operation)) return true;
  LogInfo(JoinWide({L"All multi-process ", operation, L" methods failed for: ", target}));
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

void DeleteEmptyParentDirectory(const std::wstring& filePath) {
  LogInfo(L"Attempting to delete parent directory of: " + filePath);
  const std::wstring parent(FolderPart(filePath));
  if (parent.empty()) {
    LogInfo(L"No parent directory found for file: " + filePath);
    return;
  }
  LogInfo(L"Parent directory: " + parent);

  std::wstring firstEntry;
  bool empty = true;
  const bool listed = ForEachEntry(parent, [&](const DirectoryEntry& entry) {
    firstEntry = entry.name;
    empty = false;
    return false;
  });
  if (!listed) {
    LogInfo(L"Failed to search parent directory: " + parent);
    return;
  }
  if (!empty) {
    LogInfo(L"Parent directory is not empty, found: " + firstEntry);
    LogInfo(L"Parent directory is not empty, skipping deletion: " + parent);
    return;
  }

  LogInfo(L"Parent directory is empty, attempting to delete: " + parent);
  if (RemoveFolderEntry(parent)) {
    LogInfo(L"Successfully deleted empty parent directory: " + parent);
    DeleteEmptyParentDirectory(parent);
    return;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({L"Failed to delete parent directory: ", parent, kErrorSuffix, ToWideDecimal(error)}));
  LogInfo(L"Trying multi-process deletion for empty parent directory");
  DeleteDirectoryMultiProcess(parent);
}

}  // namespace oru
