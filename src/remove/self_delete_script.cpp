#include "remove/self_delete_script.h"

#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include <cstdio>
#include <memory>

#include "common/directory_entries.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"

namespace oru {
namespace {

constexpr size_t kMaxInstallPathLength = 256;
// Text mode with a UTF-8 encoding: the runtime writes the byte-order mark and
// turns every line feed into CR LF.
constexpr wchar_t kScriptMode[] = L"w, ccs=UTF-8";

// One format string per line, each written by its own call. Doubled percent
// signs come out single: they are batch variables, not formatting.
constexpr const wchar_t* kScriptLines[] = {
    L"@echo off\n",                   // no echo of the commands
    L"timeout /t 2 /nobreak >nul\n",  // let the uninstaller exit first
    L"cd /d %%TEMP%%\n",              // leave the directory being removed
    L"rd /s /q \"%%~1\"\n",           // remove the directory given as argument
    L"del \"%%~f0\" >nul 2>nul\n",    // normally already gone with the directory
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

void CreateAndRunSelfDeleteDirScript(const std::wstring& dir) {
  LogInfo(L"CreateAndRunSelfDeleteDirScript " + dir);
  const std::wstring script = SelfDeleteScriptPath(dir);
  if (!WriteSelfDeleteScript(script)) return;
  // Nothing waits for the script: it must outlive this process.
  ::ShellExecuteW(nullptr, L"open", script.c_str(), JoinWide({L"\"", dir, L"\""}).c_str(), nullptr, SW_HIDE);
}

}  // namespace oru
