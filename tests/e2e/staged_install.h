#pragma once

// The product installed per user as its installer leaves it - in
// %LOCALAPPDATA%\Oru.stravo\Application: <pv>\Installer\setup.exe and the five
// libraries (stand-ins), uninstall\oru_uninstall.exe - with the registry keys
// the uninstaller reads and deletes, and sentinels that must survive every
// run: beside and above it, in %TEMP%, in the test's working directory, in
// the browser profile and in another vendor's product with its own setup.exe.

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

// The pv (and version folder) of a staged installation unless told otherwise.
inline constexpr wchar_t kStagedPv[] = L"1.4.2.7";

// Environment variables for a run, read by the stand-ins.
using Env = std::map<std::wstring, std::wstring>;

struct StageOptions {
  std::wstring installPath;  // empty: %LOCALAPPDATA%\Oru.stravo\Application
  std::wstring pv;           // empty: kStagedPv
  bool setupExe = true;      // the stand-in setup.exe
  // Only what a failed browser uninstall leaves: uninstall\ and <pv>\Installer\setup.exe.
  bool leftoversOnly = false;
  bool injected = false;  // the uninstaller built with the fault injector
};

class StagedInstall {
 public:
  explicit StagedInstall(const StageOptions& options = {});
  ~StagedInstall();
  StagedInstall(const StagedInstall&) = delete;
  StagedInstall& operator=(const StagedInstall&) = delete;

  // Runs `exe` in `currentDir` with `args` and `env` (read by the stand-ins),
  // calling `whileRunning` before the wait; 0xFFFFFFFF: it never started.
  DWORD Run(const std::wstring& args, const Env& env = {}, const std::function<void()>& whileRunning = {});

  // The file OruInstallLogPath names, read whole.
  [[nodiscard]] std::string FinalLog() const;
  [[nodiscard]] std::wstring FinalLogPath() const;

  [[nodiscard]] std::string SetupTrace() const { return ReadFileBytes(setupTrace_); }
  [[nodiscard]] std::string TavrinTrace() const { return ReadFileBytes(tavrinTrace_); }

  // True when every sentinel is byte-identical and the unrelated registry key untouched.
  [[nodiscard]] bool SentinelsIntact() const;

  // Each removed with the staging: a sentinel file; another vendor's product
  // (a sentinel and an Installer\setup.exe whose runs land in ForeignTrace());
  // a directory link (false when it could not be made; removed first).
  void AddSentinel(const std::wstring& path);
  void PlantForeignProduct(const std::wstring& dir);
  [[nodiscard]] std::string ForeignTrace() const { return ReadFileBytes(foreignTrace_); }
  bool Link(const std::wstring& link, const std::wstring& target);

  // True when the log says the self-deleting script started for dir; the
  // script is then waited for (bounded), so that its work, and any damage, shows.
  [[nodiscard]] bool SelfDeleteStarted(const std::wstring& dir) const;
  // Workspaces and working folders left in %TEMP% and %LOCALAPPDATA%\OruSetup.
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

// setup.exe's exit code, and what it leaves of the product's registration
// ("remove", "empty", "keep"). A failed browser uninstall (20) is followed by
// the clean-up, after which the self-deleting script may start.
[[nodiscard]] Env SetupExits(unsigned code, const wchar_t* registration = L"remove");
inline const Env kFailedBrowserUninstall = SetupExits(20);

// Exit code 0, the log whole where the registry names it, every sentinel
// intact, no other vendor's setup.exe started, no working folder left (call
// SelfDeleteStarted first when the script may take it).
void ExpectOrderlyRun(const StagedInstall& install, DWORD exitCode);

// True when a log (UTF-8) holds `fragment`.
[[nodiscard]] inline bool Has(std::string_view text, std::string_view fragment) {
  return text.find(fragment) != std::string_view::npos;
}
// Each fragment in text (UTF-8); a missing one is named.
void ExpectHas(std::string_view text, const std::vector<std::wstring>& fragments);

// Registry helpers for HKCU.
[[nodiscard]] bool KeyExists(const std::wstring& subKey);
[[nodiscard]] std::wstring ReadValue(const std::wstring& subKey, const std::wstring& name);
void SetValue(const std::wstring& subKey, const std::wstring& name, const std::wstring& value);

}  // namespace oru::test
