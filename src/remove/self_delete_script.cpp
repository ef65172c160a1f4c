#include "remove/self_delete_script.h"

#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include <cstdio>

#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"

namespace oru {
namespace {

constexpr size_t kMaxInstallPathLength = 256;
constexpr std::wstring_view kUninstallFolder = kUninstallFolderName;
constexpr std::wstring_view kScriptName = L"\\_deldir.bat";
constexpr std::wstring_view kLogPrefix = L"CreateAndRunSelfDeleteDirScript ";
constexpr wchar_t kOpenVerb[] = L"open";
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
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW((installPath + L"\\*").c_str(), &entry));
  if (!find) return false;
  do {
    const std::wstring_view name = entry.cFileName;
    if (name == L"." || name == L"..") continue;
    const bool isDirectory = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!isDirectory || !EqualsIgnoreCase(name, kUninstallFolder)) return false;
  } while (::FindNextFileW(find.get(), &entry));
  return true;
}

std::wstring SelfDeleteScriptPath(const std::wstring& dir) { return JoinWide({dir, kScriptName}); }

bool WriteSelfDeleteScript(const std::wstring& scriptPath) {
  FILE* file = ::_wfopen(scriptPath.c_str(), kScriptMode);
  if (file == nullptr) return false;
  // The C runtime's own formatter, as for every other formatted text here.
  for (const wchar_t* line : kScriptLines) __ms_fwprintf(file, line);
  std::fclose(file);
  return true;
}

SelfDeleteLaunch SelfDeleteScriptLaunch(const std::wstring& dir) {
  return {kOpenVerb, SelfDeleteScriptPath(dir), JoinWide({L"\"", dir, L"\""}), SW_HIDE};
}

void CreateAndRunSelfDeleteDirScript(const std::wstring& dir) {
  LogInfo(JoinWide({kLogPrefix, dir}));
  if (!WriteSelfDeleteScript(SelfDeleteScriptPath(dir))) return;
  const SelfDeleteLaunch launch = SelfDeleteScriptLaunch(dir);
  // Nothing waits for the script: it must outlive this process.
  ::ShellExecuteW(nullptr, launch.verb.c_str(), launch.file.c_str(), launch.parameters.c_str(), nullptr, launch.show);
}

}  // namespace oru
