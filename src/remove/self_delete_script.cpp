#include "remove/self_delete_script.h"

#include <windows.h>

#include <cstdio>
#include <memory>

#include "common/directory_entries.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/child_process.h"

namespace oru {
namespace {

constexpr size_t kMaxInstallPathLength = 256;
// Text mode with a UTF-8 encoding: the runtime writes the byte-order mark and
// turns every line feed into CR LF.
constexpr wchar_t kScriptMode[] = L"w, ccs=UTF-8";

// One format string per line, each written by its own call. Doubled percent
// signs come out single: they are batch variables, not formatting. The
// script is started in the run's empty folder (%2) too, so a "cd" that fails
// leaves it there: Wine's "rd /s" empties its current directory when a path
// runs too deep, and that must never be a folder of the user's.
//
// The fourth line does everything that must follow the script's own
// removal: cmd reads a batch file a line at a time, and once the directory
// has gone no further line can be read. Both trees (%1 the installation
// directory, %3 the run's workspace, which the uninstaller could not remove
// while it held its libraries) go while the script stands in the empty
// folder; only then does it step up out of it and remove it with a plain
// "rd", which removes nothing but an empty folder.
constexpr const wchar_t* kScriptLines[] = {
    L"@echo off\n",                   // no echo of the commands
    L"timeout /t 2 /nobreak >nul\n",  // let the uninstaller exit first
    L"cd /d \"%%~2\"\n",              // into the run's empty folder, never a user's
    L"rd /s /q \"%%~1\" & rd /s /q \"%%~3\" & cd /d \"%%~dp2\" & rd \"%%~2\"\n",
    L"del \"%%~f0\" >nul 2>nul\n",  // normally already gone with the directory
};

}  // namespace

bool NeedsSelfDeleteUninstall(const std::wstring& installPath) {
  if (installPath.empty() || installPath.size() > kMaxInstallPathLength) return false;
  bool onlyUninstallFolders = true;
  const bool listed = ForEachEntry(installPath, [&](const DirectoryEntry& entry) {
    onlyUninstallFolders = entry.IsDirectory() && EqualsIgnoreCase(entry.name, kUninstallFolderName);
    return onlyUninstallFolders;
  });
  return listed && onlyUninstallFolders;
}

std::wstring SelfDeleteScriptPath(const std::wstring& dir) { return JoinWide({dir, L"\\_deldir.bat"}); }

bool WriteSelfDeleteScript(const std::wstring& scriptPath) {
  struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<FILE, CloseFile> file(::_wfopen(scriptPath.c_str(), kScriptMode));
  if (!file) return false;
  // The C runtime's own formatter, as for every other formatted text here.
  // A script missing a line is never started: without "cd /d" it would
  // remove the directory it runs in from the wrong place.
  for (const wchar_t* line : kScriptLines) {
    if (__ms_fwprintf(file.get(), line) < 0) return false;
  }
  return std::fclose(file.release()) == 0;
}

bool CreateAndRunSelfDeleteDirScript(const std::wstring& dir, const std::wstring& workspace) {
  LogInfo(L"CreateAndRunSelfDeleteDirScript " + dir);
  const std::wstring script = SelfDeleteScriptPath(dir);
  if (!WriteSelfDeleteScript(script)) return false;
  // Nothing waits for the script: it must outlive this process.
  std::uint32_t error = 0;
  return static_cast<bool>(
      StartChildProcess(SelfDeleteCommandLine(script, dir, ChildWorkingDirectory(), workspace), true, error));
}

std::wstring SelfDeleteCommandLine(const std::wstring& script, const std::wstring& dir,
                                   const std::wstring& workingDirectory, const std::wstring& workspace) {
  // cmd /C drops the outermost pair of quotes around what follows it.
  return SystemCmdCommandLine(
      JoinWide({L"\"\"", script, L"\" \"", dir, L"\" \"", workingDirectory, L"\" \"", workspace, L"\"\""}));
}

}  // namespace oru
