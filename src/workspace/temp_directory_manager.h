#pragma once

// The run's private, hidden workspace outside the installation. The
// telemetry libraries are copied into its "tavrin" subdirectory and loaded
// from there, so that the installation can be deleted while they are in use.
//
// Three places are tried in order, each checked for free space and a write:
//   0: %TEMP%\OruSetup_<pid>
//   1: %LOCALAPPDATA%\OruSetup\Temp_<pid>
//   2: <exe dir>\.OruSetupTemp
// A place with a link anywhere from its known folder down is not used.
// Every step is logged; nothing throws and nothing is shown to the user.
// A directory entry that is a link (reparse point) is never entered: only
// the link itself is removed.

#include <cstdint>
#include <functional>
#include <string>

namespace oru {

class TempDirectoryManager {
 public:
  // Free bytes available to the caller on the volume of `root`. False on
  // failure, with the system error left in GetLastError().
  using FreeSpaceQuery = std::function<bool(const std::wstring& root, std::uint64_t& availableToCaller)>;

  TempDirectoryManager();
  // Free disk space is the one thing a test cannot arrange for real.
  explicit TempDirectoryManager(FreeSpaceQuery freeSpace);
  // Removes the workspace (CleanupOnExit).
  ~TempDirectoryManager();
  TempDirectoryManager(const TempDirectoryManager&) = delete;
  TempDirectoryManager& operator=(const TempDirectoryManager&) = delete;

  // Chooses and prepares the workspace; false when no place works. With
  // cleanupStale, other processes' workspaces are deleted first. A second
  // call returns true and changes nothing.
  [[nodiscard]] bool Initialize(std::uint64_t requiredBytes, bool cleanupStale);

  // The workspace and its library subdirectory; empty until a place was tried.
  [[nodiscard]] std::wstring GetTempDirectory() const;
  [[nodiscard]] std::wstring GetTavrinDirectory() const;
  // An empty folder in which every child process of the run is started:
  // %TEMP%\OruSetup_<pid>_cwd, else %LOCALAPPDATA%\OruSetup\Temp_<pid>_cwd,
  // never inside the installation; empty when neither could be made.
  [[nodiscard]] std::wstring GetWorkingDirectory() const { return workDir; }
  // The self-deleting script stands in the working folder and removes it
  // after the run: Cleanup then leaves it alone.
  void LeaveWorkingDirectoryToScript();
  // 0, 1 or 2: the place chosen (meaningful once initialized).
  [[nodiscard]] std::uint32_t GetStrategy() const { return strategy; }

  // True once Initialize has found a place.
  [[nodiscard]] bool IsInitialized() const { return initialized; }

  // Deletes the workspace and (unless left to the script) the working
  // folder now; nothing is scheduled for later. Does nothing before a successful Initialize.
  void Cleanup();
  void CleanupOnExit();

  // Deletes every OruSetup_*, Temp_* and .OruSetupTemp workspace (and
  // working folder) except this process's own, whether or not the process
  // that made it still runs. A place reached through a link - the known
  // folder itself or any folder below it - is neither listed nor entered.
  void CleanupStaleDirectories();

  // True when the volume of `path` has requiredBytes plus a 50 MiB margin
  // free. A path without a drive letter is queried whole.
  [[nodiscard]] bool CheckDiskSpace(const std::wstring& path, std::uint64_t requiredBytes);
  // Creates, writes and deletes a probe file in `directory`.
  [[nodiscard]] bool TestWriteAccess(const std::wstring& directory);
  // Creates `path` hidden; an existing directory there is deleted first, so
  // it is never reused. Failing to hide it is logged but not a failure.
  [[nodiscard]] bool CreateHiddenDirectory(const std::wstring& path);
  // Creates `path` and its missing parents; an existing directory is kept.
  [[nodiscard]] bool CreateDirectoryTree(const std::wstring& path);
  // Deletes `path` with everything below it, read-only files included. No
  // retries, nothing scheduled for a reboot; false when `path` remains.
  [[nodiscard]] bool DeleteDirectoryRecursive(const std::wstring& path);
  // Total size of the files below `path`; 0 when it cannot be listed.
  [[nodiscard]] std::uint64_t GetDirectorySize(const std::wstring& path);

 private:
  static constexpr std::size_t kPathCapacity = 260;  // MAX_PATH

  bool PrepareHiddenWorkspace();
  bool TryCreateInSystemTemp();
  bool TryCreateInLocalAppData();
  bool TryCreateBesideExecutable();
  void CreateWorkingDirectory();
  // Deletes one stale workspace and adds it to the tally when it went.
  void RemoveStaleDirectory(const std::wstring& path, const std::wstring& name, unsigned& count,
                            std::uint64_t& freedBytes);

  wchar_t tempDir[kPathCapacity] = {};
  wchar_t tavrinDir[kPathCapacity] = {};
  wchar_t exeDir[kPathCapacity] = {};
  wchar_t workDir[kPathCapacity] = {};
  std::uint32_t strategy = 0;
  bool initialized = false;
  bool autoCleanup = true;
  bool workDirLeftToScript = false;
  std::uint64_t requiredBytes = 0;
  FreeSpaceQuery freeSpace;
};

}  // namespace oru
