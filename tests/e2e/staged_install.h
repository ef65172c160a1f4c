#pragma once

// A per-user installation of the product staged from scratch in the test
// prefix, the way its installer leaves it, plus a way to run the real
// uninstaller on it as the product's Uninstall entry would:
//   %LOCALAPPDATA%\Oru.stravo\Application\<pv>\Installer\setup.exe  (stand-in)
//   %LOCALAPPDATA%\Oru.stravo\Application\<pv>\<the five libraries>  (stand-ins)
//   %LOCALAPPDATA%\Oru.stravo\Application\uninstall\oru_uninstall.exe
// with the registry keys the uninstaller reads and deletes, and sentinel
// files and keys beside and above it that must survive every run.

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace oru::test {

struct StageOptions {
  std::wstring installPath;  // empty: %LOCALAPPDATA%\Oru.stravo\Application
  std::wstring pv = L"1.4.2.7";
  bool setupExe = true;                            // the stand-in setup.exe
  std::wstring tavrinLibrary = L"tavrin_sdk.dll";  // stand-in to stage as tavrin_sdk.dll; empty: none
  bool dorvidLibrary = true;
  bool registryValues = true;  // OruInstallPath and pv
};

struct RunResult {
  DWORD exitCode = 0xFFFFFFFF;
  DWORD elapsedMs = 0;
};

class StagedInstall {
 public:
  explicit StagedInstall(const StageOptions& options = {});
  ~StagedInstall();
  StagedInstall(const StagedInstall&) = delete;
  StagedInstall& operator=(const StagedInstall&) = delete;

  // Runs uninstall\oru_uninstall.exe with `args`; the stand-ins read `env`.
  RunResult Run(const std::wstring& args, const std::map<std::wstring, std::wstring>& env = {});

  // The log the run left: the file that OruInstallLogPath names, read whole.
  [[nodiscard]] std::string FinalLog() const;
  [[nodiscard]] std::wstring FinalLogPath() const;

  [[nodiscard]] std::string SetupTrace() const { return ReadFileBytes(setupTrace_); }
  [[nodiscard]] std::string TavrinTrace() const { return ReadFileBytes(tavrinTrace_); }
  [[nodiscard]] std::string DorvidTrace() const { return ReadFileBytes(dorvidTrace_); }

  // True when both sentinels and the unrelated registry key are untouched.
  [[nodiscard]] bool SentinelsIntact() const;

  // Entries left in the installation directory, "[DIR] name" / "[FILE] name".
  [[nodiscard]] std::vector<std::wstring> Remaining(const std::wstring& relative = L"") const;

  std::wstring installPath, pv, versionDir, setupExe, uninstallDir, exe;

 private:
  static std::string ReadFileBytes(const std::wstring& path);

  std::wstring productRoot_, sentinelBeside_, sentinelAbove_;
  TempDir traces_;
  std::wstring setupTrace_, tavrinTrace_, dorvidTrace_;
};

// Registry helpers for HKCU.
[[nodiscard]] bool KeyExists(const std::wstring& subKey);
[[nodiscard]] std::wstring ReadValue(const std::wstring& subKey, const std::wstring& name);
void SetValue(const std::wstring& subKey, const std::wstring& name, const std::wstring& value);

}  // namespace oru::test
