#pragma once

// A per-user installation of the product staged from scratch in the test
// prefix, the way its installer leaves it, plus a way to run the real
// uninstaller on it as the product's Uninstall entry would:
//   %LOCALAPPDATA%\Oru.stravo\Application\<pv>\Installer\setup.exe  (stand-in)
//   %LOCALAPPDATA%\Oru.stravo\Application\<pv>\<the five libraries>  (stand-ins)
//   %LOCALAPPDATA%\Oru.stravo\Application\uninstall\oru_uninstall.exe
// with the registry keys the uninstaller reads and deletes, and sentinels
// outside it that must survive every run: beside and above it, in %TEMP%, in
// the test's own working directory, in
// the browser profile (Oru.stravo\User Data) and in another vendor's product
// (%LOCALAPPDATA%\Other Vendor\App) that has its own Installer\setup.exe.

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/directory_link.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru::test {

// The version a staged installation has unless told otherwise (its pv and
// version folder).
inline constexpr wchar_t kStagedPv[] = L"1.4.2.7";

// Environment variables for a run, read by the stand-ins.
using Env = std::map<std::wstring, std::wstring>;

struct StageOptions {
  std::wstring installPath;  // empty: %LOCALAPPDATA%\Oru.stravo\Application
  std::wstring pv;           // empty: kStagedPv
  bool setupExe = true;      // the stand-in setup.exe
  // Only what a failed browser uninstall leaves: uninstall\ and <pv>\Installer\setup.exe.
  bool leftoversOnly = false;
};

class StagedInstall {
 public:
  explicit StagedInstall(const StageOptions& options = {});
  ~StagedInstall();
  StagedInstall(const StagedInstall&) = delete;
  StagedInstall& operator=(const StagedInstall&) = delete;

  // Runs `exe` in `currentDir` with `args`; the stand-ins read `env`.
  // `whileRunning` is called once the process has started, before the wait.
  // Returns the exit code; 0xFFFFFFFF when it could not be started.
  DWORD Run(const std::wstring& args, const Env& env = {}, const std::function<void()>& whileRunning = {});

  // The log the run left: the file that OruInstallLogPath names, read whole.
  [[nodiscard]] std::string FinalLog() const;
  [[nodiscard]] std::wstring FinalLogPath() const;

  [[nodiscard]] std::string SetupTrace() const { return ReadFileBytes(setupTrace_); }
  [[nodiscard]] std::string TavrinTrace() const { return ReadFileBytes(tavrinTrace_); }

  // True when every sentinel is byte-identical and the unrelated registry key untouched.
  [[nodiscard]] bool SentinelsIntact() const;

  // Writes a sentinel file (and its folders); removed with the staging.
  void AddSentinel(const std::wstring& path);
  // Another vendor's product in dir: a sentinel and Installer\setup.exe, a
  // setup stand-in whose runs land in ForeignTrace(). Removed with the staging.
  void PlantForeignProduct(const std::wstring& dir);
  [[nodiscard]] std::string ForeignTrace() const { return ReadFileBytes(foreignTrace_); }
  // A directory link, removed (before anything else) with the staging; false
  // when it could not be made.
  bool Link(const std::wstring& link, const std::wstring& target);

  // True when the run's log says it started the self-deleting script for
  // dir; the script is then waited for (bounded) until it has removed its
  // own file and the run's folders, so that its work, and any damage, shows.
  [[nodiscard]] bool SelfDeleteStarted(const std::wstring& dir) const;
  // Folders of the uninstaller's own left in %TEMP% (OruSetup_*) and in
  // %LOCALAPPDATA%\OruSetup: workspaces and working folders.
  [[nodiscard]] static std::vector<std::wstring> OwnFoldersLeft();

  // Entries left in the installation directory, "[DIR] name" / "[FILE] name".
  [[nodiscard]] std::vector<std::wstring> Remaining(const std::wstring& relative = L"") const;

  std::wstring installPath, pv, versionDir, setupExe, uninstallDir, exe, currentDir;

 private:
  // Records the outermost folder of path that does not exist yet, for removal.
  void Plant(const std::wstring& path);

  std::wstring productRoot_;
  TempDir traces_;
  std::wstring setupTrace_, tavrinTrace_, foreignTrace_;
  std::map<std::wstring, std::string> sentinels_;
  std::vector<std::wstring> planted_;
  std::vector<std::unique_ptr<DirectoryLink>> links_;
};

// Registry helpers for HKCU.
[[nodiscard]] bool KeyExists(const std::wstring& subKey);
// True when a log (UTF-8) holds `fragment`.
[[nodiscard]] inline bool Has(std::string_view text, std::string_view fragment) {
  return text.find(fragment) != std::string_view::npos;
}
[[nodiscard]] std::wstring ReadValue(const std::wstring& subKey, const std::wstring& name);
void SetValue(const std::wstring& subKey, const std::wstring& name, const std::wstring& value);

}  // namespace oru::test
