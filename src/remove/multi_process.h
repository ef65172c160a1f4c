#pragma once

// Deleting a file or directory from outside the uninstaller's own process:
// a hidden cmd.exe first, a hidden PowerShell second, each started from the
// system directory by its full path and with a time limit, and the target's
// absence checked after each, since a child's exit code alone proves nothing.

#include <cstdint>
#include <string>

namespace oru {

// What a child process is run for, as it appears in log lines.
inline constexpr wchar_t kDeleteFileOperation[] = L"delete file";
inline constexpr wchar_t kDeleteDirectoryOperation[] = L"delete directory";

inline constexpr std::uint32_t kDeleteFileTimeoutMs = 5000;
inline constexpr std::uint32_t kDeleteDirectoryTimeoutMs = 10000;

// The child's failure value: it could not be started, or it timed out.
inline constexpr std::uint32_t kChildFailed = 0xFFFFFFFF;

// The two command lines tried for one target: cmd.exe with /D /V:OFF and
// the target's extended-length path, PowerShell with -NoProfile
// -NonInteractive and Remove-Item -LiteralPath, apostrophes doubled.
struct DeletionCommands {
  std::wstring cmd;
  std::wstring powerShell;
};
[[nodiscard]] DeletionCommands FileDeletionCommands(const std::wstring& path);
[[nodiscard]] DeletionCommands DirectoryDeletionCommands(const std::wstring& dir);

// Runs commandLine hidden through StartChildProcess, waiting at most
// timeoutMs. Returns its exit code, or kChildFailed when it was refused,
// could not start or had to be terminated (logged).
std::uint32_t RunChildProcess(const std::wstring& commandLine, std::uint32_t timeoutMs, const std::wstring& operation);

// Tries cmdCommand, then powerShellCommand. True when one of them exited 0
// and target no longer exists afterwards.
[[nodiscard]] bool RunDeletionWithChildProcesses(const std::wstring& cmdCommand, const std::wstring& powerShellCommand,
                                                 const std::wstring& target, std::uint32_t timeoutMs,
                                                 const std::wstring& operation);

// Deletes a file through child processes; on success also removes the
// folders the deletion left empty. True when the file is verified gone.
[[nodiscard]] bool DeleteFileMultiProcess(const std::wstring& path);

// Deletes a directory tree through child processes; the outcome is logged only.
void DeleteDirectoryMultiProcess(const std::wstring& dir);

// Removes the folder that held filePath if it is now empty, then each empty
// folder above it, stopping at the first that still holds anything. A folder
// that will not go is handed to DeleteDirectoryMultiProcess. Logged only.
void DeleteEmptyParentDirectory(const std::wstring& filePath);

}  // namespace oru
