#include "sys/child_process.h"

#include <windows.h>

#include "common/path_rules.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/system_directory.h"

namespace oru {
namespace {

std::wstring g_workingDirectory;

constexpr wchar_t kNotStarted[] = L"Child process not started, ";

}  // namespace

void SetChildWorkingDirectory(const std::wstring& directory) { g_workingDirectory = directory; }

std::wstring ChildWorkingDirectory() { return g_workingDirectory; }

std::wstring SystemCmdCommandLine(std::wstring_view command) {
  return JoinWide({L"\"", SystemDirectoryFile(L"cmd.exe"), L"\" /D /V:OFF /C ", command});
}

std::wstring QuotedProgramOf(std::wstring_view commandLine) {
  if (!commandLine.starts_with(L'"')) return {};
  const size_t close = commandLine.find(L'"', 1);
  if (close == std::wstring_view::npos) return {};
  const std::wstring_view program = commandLine.substr(1, close - 1);
  if (!AbsoluteLocalPathRefusal(program).empty()) return {};
  return std::wstring(program);
}

std::wstring ChildCommandRefusal(std::wstring_view commandLine) {
  const std::wstring program = QuotedProgramOf(commandLine);
  if (program.empty()) return L"the program is not named by a quoted full path";
  if (EqualsIgnoreCase(FileNamePart(program), L"cmd.exe") && commandLine.find(L'%') != std::wstring_view::npos) {
    return L"cmd.exe would expand the % it is handed";
  }
  return {};
}

UniqueHandle StartChildProcess(const std::wstring& commandLine, bool hidden, std::uint32_t& error) {
  const std::wstring refusal = ChildCommandRefusal(commandLine);
  if (!refusal.empty()) {
    LogWarning(JoinWide({kNotStarted, refusal, L": ", commandLine}));
    error = ERROR_BAD_PATHNAME;
    return {};
  }
  const std::wstring workingDirectory = g_workingDirectory;
  if (workingDirectory.empty()) {
    LogWarning(JoinWide({kNotStarted, L"the run has no empty working folder of its own: ", commandLine}));
    error = ERROR_DIRECTORY;
    return {};
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  if (hidden) {
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
  }
  PROCESS_INFORMATION info{};
  std::wstring writable = commandLine;
  const std::wstring program = QuotedProgramOf(commandLine);
  if (!::CreateProcessW(program.c_str(), writable.data(), nullptr, nullptr, FALSE, 0, nullptr, workingDirectory.c_str(),
                        &startup, &info)) {
    error = ::GetLastError();
    return {};
  }
  UniqueHandle thread(info.hThread);
  error = ERROR_SUCCESS;
  return UniqueHandle(info.hProcess);
}

}  // namespace oru
