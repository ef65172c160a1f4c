#include "remove/install_dir_cleanup.h"

#include <windows.h>

#include <optional>
#include <vector>

#include "common/directory_entries.h"
#include "common/entry_removal.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "remove/directory_tree.h"
#include "remove/file_fallback.h"
#include "remove/minimal_state.h"
#include "remove/multi_process.h"

namespace oru {
namespace {

// One level as listed; nothing when the listing cannot start.
std::optional<std::vector<ListedEntry>> ListLevel(const std::wstring& path) {
  std::vector<ListedEntry> entries;
  const bool listed = ForEachEntry(path, [&](const DirectoryEntry& entry) {
    entries.push_back({std::wstring(entry.name), entry.IsDirectory(), entry.IsReparsePoint()});
    return true;
  });
  if (!listed) return std::nullopt;
  return entries;
}

// Lists `path`, judges the level and logs the judgement; false when the
// listing fails (logged as `listFailed` + path) or the level does not pass.
template <typename Judge>
bool CheckLevel(const std::wstring& path, std::wstring_view listFailed, LevelVerdict& verdict, Judge judge) {
  const std::optional<std::vector<ListedEntry>> entries = ListLevel(path);
  if (!entries) {
    LogInfo(JoinWide({listFailed, path}));
    return false;
  }
  verdict = judge(*entries);
  for (const std::wstring& line : verdict.lines) LogInfo(line);
  return verdict.met;
}

// setup.exe first, by every means; the version folder only once it is gone.
bool DeleteLeftoverSetup(const std::wstring& setupPath) {
  LogInfo(L"Attempting to delete setup.exe: " + setupPath);
  if (RemoveFileEntry(setupPath)) {
    LogInfo(L"Successfully deleted setup.exe: " + setupPath);
    return true;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({L"Failed to delete setup.exe: ", setupPath, kErrorSuffix, ToWideDecimal(error)}));
  if (DeleteFileWithFallback(setupPath)) {
    LogInfo(L"Successfully moved setup.exe to temp and scheduled for deletion");
    return true;
  }
  LogInfo(L"Failed to move setup.exe to temp directory, trying multi-process deletion");
  if (DeleteFileMultiProcess(setupPath)) {
    LogInfo(L"Successfully deleted setup.exe using multi-process deletion");
    return true;
  }
  LogInfo(L"All deletion methods failed for setup.exe: " + setupPath);
  LogInfo(L"Skipping version directory deletion because setup.exe deletion failed");
  return false;
}

void DeleteVersionDirectory(const std::wstring& dir) {
  LogInfo(L"Attempting to delete version directory: " + dir);
  if (!DeleteDirectoryTree(dir)) {
    LogInfo(L"Failed to delete version directory contents: " + dir);
    return;
  }
  LogInfo(L"Successfully deleted version directory: " + dir);
  // DeleteDirectoryTree has normally removed dir already, so this usually
  // fails with 2 and ends in a harmless reboot request for a missing path.
  if (RemoveFolderEntry(dir)) {
    LogInfo(L"Successfully removed version directory: " + dir);
    return;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({L"Failed to remove version directory: ", dir, kErrorSuffix, ToWideDecimal(error)}));
  if (ScheduleDeleteOnReboot(dir)) {
    LogInfo(L"Scheduled version directory for deletion on reboot: " + dir);
  } else {
    LogInfo(L"Failed to schedule version directory for deletion: " + dir);
  }
}

}  // namespace

bool CheckInstallDirMinimalState(const InstallationRecord& installation) {
  LogInfo(L"Checking installation directory status to determine if cleanup is needed");
  const std::wstring& installPath = installation.install_path;
  if (installPath.empty()) {
    LogInfo(L"Installation path is empty, cannot check directory status");
    return false;
  }
  LevelVerdict root;
  if (!CheckLevel(installPath, L"Failed to find files in installation directory: ", root, JudgeInstallationLevel)) {
    return false;
  }
  const std::wstring& other = root.other;
  const std::wstring otherPath = JoinWide({installPath, L"\\", other});
  LevelVerdict level;
  const auto judgeVersion = [&](const std::vector<ListedEntry>& entries) { return JudgeVersionLevel(other, entries); };
  if (!CheckLevel(otherPath, L"Failed to find files in other folder: ", level, judgeVersion)) return false;
  const std::wstring installerPath = JoinWide({otherPath, L"\\", kInstallerFolderName});
  if (!CheckLevel(installerPath, L"Failed to find files in Installer folder: ", level, JudgeInstallerLevel)) {
    return false;
  }

  LogInfo(L"All conditions met:");
  LogInfo(L"  - Installation directory has exactly 2 folders: uninstall and " + other);
  LogInfo(JoinWide({L"  - ", other, L" folder contains only Installer folder"}));
  LogInfo(L"  - Installer folder contains only setup.exe");
  LogInfo(L"Installation directory is in minimal state, safe to cleanup");
  return true;
}

void CleanupInstallationDirectory(const InstallationRecord& installation) {
  if (!CheckInstallDirMinimalState(installation)) {
    LogInfo(L"Installation directory contains other files, skipping cleanup");
    return;
  }
  LogInfo(L"Installation directory only contains uninstall folder and setup.exe, proceeding with cleanup");
  // The version folder is the one the registry names, not the one the check
  // found; in the minimal state they are the same.
  const std::wstring versionDir = JoinWide({installation.install_path, L"\\", installation.pv});
  const std::wstring setupPath = JoinWide({versionDir, L"\\", kInstallerFolderName, L"\\", kSetupImageName});
  if (!DeleteLeftoverSetup(setupPath)) return;
  DeleteVersionDirectory(versionDir);
}

}  // namespace oru
