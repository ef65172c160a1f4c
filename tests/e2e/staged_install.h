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

inline constexpr wchar_t kStagedPv[] = L"1.4.2.7";

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

  // Runs `exe` in `currentDir`, calling `whileRunning` before the wait.
  DWORD Run(const std::wstring& args, const Env& env = {}, const std::function<void()>& whileRunning = {});

  [[nodiscard]] std::string FinalLog() const;  // the file OruInstallLogPath names
  [[nodiscard]] std::wstring FinalLogPath() const;

  [[nodiscard]] std::string SetupTrace() const { return ReadFileBytes(setupTrace_); }
  [[nodiscard]] std::string TavrinTrace() const { return ReadFileBytes(tavrinTrace_); }

  [[nodiscard]] bool SentinelsIntact() const;  // and the unrelated registry key

  // Each removed with the staging: a sentinel file; another vendor's product
  // (a sentinel and an Installer\setup.exe whose runs land in ForeignTrace());
  // a directory link (false when it could not be made; removed first).
  void AddSentinel(const std::wstring& path);
  void PlantForeignProduct(const std::wstring& dir);
  [[nodiscard]] std::string ForeignTrace() const { return ReadFileBytes(foreignTrace_); }
  bool Link(const std::wstring& link, const std::wstring& target);

  // When it did, the script is waited for, so that its work (and damage) shows.
  [[nodiscard]] bool SelfDeleteStarted(const std::wstring& dir) const;
  // Workspaces and working folders left in %TEMP% and %LOCALAPPDATA%\OruSetup.
  [[nodiscard]] static std::vector<std::wstring> OwnFoldersLeft();
  // "[DIR] name" / "[FILE] name" in the installation directory.
  [[nodiscard]] std::vector<std::wstring> Remaining(const std::wstring& relative = L"") const;

  std::wstring installPath, pv, versionDir, setupExe, uninstallDir, exe, currentDir;

 private:
  void Plant(const std::wstring& path);

  std::wstring productRoot_;
  TempDir traces_;
  std::wstring setupTrace_, tavrinTrace_, foreignTrace_;
  std::map<std::wstring, std::string> sentinels_;
  std::vector<std::wstring> planted_;
  std::vector<std::unique_ptr<DirectoryLink>> links_;
};

// setup.exe's exit code, and what it leaves of the registration ("remove",
// "empty", "keep"). After a failed browser uninstall (20) comes the clean-up.
[[nodiscard]] Env SetupExits(unsigned code, const wchar_t* registration = L"remove");
inline const Env kFailedBrowserUninstall = SetupExits(20);

// Exit code 0, the log whole where the registry names it, every sentinel
// intact, no other vendor's setup.exe started, no working folder left (call
// SelfDeleteStarted first when the script may take it).
void ExpectOrderlyRun(const StagedInstall& install, DWORD exitCode);

[[nodiscard]] inline bool Has(std::string_view text, std::string_view fragment) {
  return text.find(fragment) != std::string_view::npos;
}
void ExpectHas(std::string_view text, const std::vector<std::wstring>& fragments);

// In HKCU.
[[nodiscard]] bool KeyExists(const std::wstring& subKey);
[[nodiscard]] std::wstring ReadValue(const std::wstring& subKey, const std::wstring& name);
void SetValue(const std::wstring& subKey, const std::wstring& name, const std::wstring& value);

}  // namespace oru::test
