#include "remove/install_dir_cleanup.h"

#include <windows.h>

#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "remove/directory_tree.h"
#include "remove/file_fallback.h"
#include "remove/multi_process.h"

namespace oru {
namespace {

constexpr std::wstring_view kUninstallFolder = kUninstallFolderName;
constexpr std::wstring_view kInstallerFolder = kInstallerFolderName;
constexpr std::wstring_view kSetupExe = kSetupImageName;

// The minimal-state check.
constexpr std::wstring_view kChecking = L"Checking installation directory status to determine if cleanup is needed";
constexpr std::wstring_view kPathEmpty = L"Installation path is empty, cannot check directory status";
constexpr std::wstring_view kFindInstallFailed = L"Failed to find files in installation directory: ";
constexpr std::wstring_view kFileInRoot = L"Found file in root directory, terminating check early: ";
constexpr std::wstring_view kMoreThanTwoFolders = L"Found more than 2 folders, terminating check early";
constexpr std::wstring_view kFoundUninstall = L"Found uninstall folder: ";
constexpr std::wstring_view kFoundOther = L"Found other folder: ";
constexpr std::wstring_view kTotalFolders = L"Total folders found: ";
constexpr std::wstring_view kTotalFiles = L"Total files found: 0 (any files would have caused early termination)";
constexpr std::wstring_view kExpectedTwoFolders = L"Expected exactly 2 folders, but found ";
constexpr std::wstring_view kFoldersSuffix = L" folders";
constexpr std::wstring_view kUninstallNotFound = L"Uninstall folder not found";
constexpr std::wstring_view kNoOtherFolder = L"No other folder found besides uninstall folder";
constexpr std::wstring_view kFindOtherFailed = L"Failed to find files in other folder: ";
constexpr std::wstring_view kMoreThanOneItemIn = L"Found more than 1 item in ";
constexpr std::wstring_view kTerminatingSuffix = L", terminating check early";
constexpr std::wstring_view kFoundFileIn = L"Found file in ";
constexpr std::wstring_view kFoundUnexpectedFolderIn = L"Found unexpected folder in ";
constexpr std::wstring_view kFoundInstallerIn = L"Found Installer folder in ";
constexpr std::wstring_view kExpectedOneItemIn = L"Expected exactly 1 item in ";
constexpr std::wstring_view kButFound = L", but found ";
constexpr std::wstring_view kItemsSuffix = L" items";
constexpr std::wstring_view kInstallerNotFoundIn = L"Installer folder not found in ";
constexpr std::wstring_view kFindInstallerFailed = L"Failed to find files in Installer folder: ";
constexpr std::wstring_view kMoreThanOneInInstaller =
    L"Found more than 1 item in Installer folder, terminating check early";
constexpr std::wstring_view kUnexpectedFolderInInstaller = L"Found unexpected folder in Installer folder: ";
constexpr std::wstring_view kFoundSetup = L"Found setup.exe in Installer folder";
constexpr std::wstring_view kUnexpectedFileInInstaller = L"Found unexpected file in Installer folder: ";
constexpr std::wstring_view kExpectedOneInInstaller = L"Expected exactly 1 item in Installer folder, but found ";
constexpr std::wstring_view kSetupNotFound = L"setup.exe not found in Installer folder";
constexpr std::wstring_view kAllConditionsMet = L"All conditions met:";
constexpr std::wstring_view kConditionTwoFolders = L"  - Installation directory has exactly 2 folders: uninstall and ";
constexpr std::wstring_view kConditionPrefix = L"  - ";
constexpr std::wstring_view kConditionOnlyInstaller = L" folder contains only Installer folder";
constexpr std::wstring_view kConditionOnlySetup = L"  - Installer folder contains only setup.exe";
constexpr std::wstring_view kMinimalState = L"Installation directory is in minimal state, safe to cleanup";

// The clean-up.
constexpr std::wstring_view kSkippingCleanup = L"Installation directory contains other files, skipping cleanup";
constexpr std::wstring_view kProceeding =
    L"Installation directory only contains uninstall folder and setup.exe, proceeding with cleanup";
constexpr std::wstring_view kAttemptingSetup = L"Attempting to delete setup.exe: ";
constexpr std::wstring_view kDeletedSetup = L"Successfully deleted setup.exe: ";
constexpr std::wstring_view kFailedDeleteSetup = L"Failed to delete setup.exe: ";
constexpr std::wstring_view kMovedSetup = L"Successfully moved setup.exe to temp and scheduled for deletion";
constexpr std::wstring_view kTryingMultiProcess =
    L"Failed to move setup.exe to temp directory, trying multi-process deletion";
constexpr std::wstring_view kDeletedSetupMultiProcess = L"Successfully deleted setup.exe using multi-process deletion";
constexpr std::wstring_view kAllSetupMethodsFailed = L"All deletion methods failed for setup.exe: ";
constexpr std::wstring_view kSkippingVersionDir =
    L"Skipping version directory deletion because setup.exe deletion failed";
constexpr std::wstring_view kAttemptingVersionDir = L"Attempting to delete version directory: ";
constexpr std::wstring_view kFailedVersionContents = L"Failed to delete version directory contents: ";
constexpr std::wstring_view kDeletedVersionDir = L"Successfully deleted version directory: ";
constexpr std::wstring_view kRemovedVersionDir = L"Successfully removed version directory: ";
constexpr std::wstring_view kFailedRemoveVersionDir = L"Failed to remove version directory: ";
constexpr std::wstring_view kScheduledVersionDir = L"Scheduled version directory for deletion on reboot: ";
constexpr std::wstring_view kFailedScheduleVersionDir = L"Failed to schedule version directory for deletion: ";

// The climb through emptied parents.
constexpr std::wstring_view kAttemptingParent = L"Attempting to delete parent directory of: ";
constexpr std::wstring_view kNoParent = L"No parent directory found for file: ";
constexpr std::wstring_view kParentIs = L"Parent directory: ";
constexpr std::wstring_view kSearchParentFailed = L"Failed to search parent directory: ";
constexpr std::wstring_view kParentNotEmptyFound = L"Parent directory is not empty, found: ";
constexpr std::wstring_view kParentNotEmptySkipping = L"Parent directory is not empty, skipping deletion: ";
constexpr std::wstring_view kParentEmpty = L"Parent directory is empty, attempting to delete: ";
constexpr std::wstring_view kDeletedParent = L"Successfully deleted empty parent directory: ";
constexpr std::wstring_view kFailedDeleteParent = L"Failed to delete parent directory: ";
constexpr std::wstring_view kTryingMultiProcessParent = L"Trying multi-process deletion for empty parent directory";

constexpr std::wstring_view kErrorSuffix = L", error: ";

bool IsDotEntry(std::wstring_view name) { return name == L"." || name == L".."; }
bool IsDirectory(const WIN32_FIND_DATAW& entry) { return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
// A link where the product's own folders and files belong points somewhere
// else: that is not the product's minimal state, whatever its name.
bool IsLink(const WIN32_FIND_DATAW& entry) { return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }

constexpr std::wstring_view kFoundLinkIn = L"Found link in ";

// The installation directory: exactly "uninstall" and one other folder, no
// files. Fills otherFolder with the other folder's name.
bool CheckRootLevel(const std::wstring& installPath, std::wstring& otherFolder) {
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW((installPath + L"\\*").c_str(), &entry));
  if (!find) {
    LogInfo(JoinWide({kFindInstallFailed, installPath}));
    return false;
  }
  unsigned folders = 0;
  bool uninstallFound = false;
  do {
    const std::wstring_view name = entry.cFileName;
    if (IsDotEntry(name)) continue;
    if (IsLink(entry)) {
      LogInfo(JoinWide({kFoundLinkIn, L"root directory", kTerminatingSuffix, L": ", name}));
      return false;
    }
    if (!IsDirectory(entry)) {
      LogInfo(JoinWide({kFileInRoot, name}));
      return false;
    }
    if (++folders > 2) {
      LogInfo(kMoreThanTwoFolders);
      return false;
    }
    if (name == kUninstallFolder) {
      uninstallFound = true;
      LogInfo(JoinWide({kFoundUninstall, name}));
    } else {
      otherFolder = name;
      LogInfo(JoinWide({kFoundOther, name}));
    }
  } while (::FindNextFileW(find.get(), &entry));
  find.reset();

  LogInfo(JoinWide({kTotalFolders, ToWideDecimal(folders)}));
  LogInfo(kTotalFiles);
  if (folders != 2) {
    LogInfo(JoinWide({kExpectedTwoFolders, ToWideDecimal(folders), kFoldersSuffix}));
    return false;
  }
  if (!uninstallFound) {
    LogInfo(kUninstallNotFound);
    return false;
  }
  if (otherFolder.empty()) {
    LogInfo(kNoOtherFolder);
    return false;
  }
  return true;
}

// The version folder: exactly one entry, the folder "Installer".
bool CheckVersionLevel(const std::wstring& otherPath, const std::wstring& other) {
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW((otherPath + L"\\*").c_str(), &entry));
  if (!find) {
    LogInfo(JoinWide({kFindOtherFailed, otherPath}));
    return false;
  }
  unsigned items = 0;
  bool installerFound = false;
  do {
    const std::wstring_view name = entry.cFileName;
    if (IsDotEntry(name)) continue;
    if (IsLink(entry)) {
      LogInfo(JoinWide({kFoundLinkIn, other, kTerminatingSuffix, L": ", name}));
      return false;
    }
    if (++items > 1) {
      LogInfo(JoinWide({kMoreThanOneItemIn, other, kTerminatingSuffix}));
      return false;
    }
    if (!IsDirectory(entry)) {
      LogInfo(JoinWide({kFoundFileIn, other, L": ", name}));
      return false;
    }
    if (name != kInstallerFolder) {
      LogInfo(JoinWide({kFoundUnexpectedFolderIn, other, L": ", name}));
      return false;
    }
    installerFound = true;
    LogInfo(JoinWide({kFoundInstallerIn, other}));
  } while (::FindNextFileW(find.get(), &entry));
  find.reset();

  if (items != 1) {
    LogInfo(JoinWide({kExpectedOneItemIn, other, kButFound, ToWideDecimal(items), kItemsSuffix}));
    return false;
  }
  if (!installerFound) {
    LogInfo(JoinWide({kInstallerNotFoundIn, other}));
    return false;
  }
  return true;
}

// The Installer folder: exactly one entry, the file "setup.exe".
bool CheckInstallerLevel(const std::wstring& installerPath) {
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW((installerPath + L"\\*").c_str(), &entry));
  if (!find) {
    LogInfo(JoinWide({kFindInstallerFailed, installerPath}));
    return false;
  }
  unsigned items = 0;
  bool setupFound = false;
  do {
    const std::wstring_view name = entry.cFileName;
    if (IsDotEntry(name)) continue;
    if (IsLink(entry)) {
      LogInfo(JoinWide({kFoundLinkIn, kInstallerFolder, L" folder", kTerminatingSuffix, L": ", name}));
      return false;
    }
    if (++items > 1) {
      LogInfo(kMoreThanOneInInstaller);
      return false;
    }
    if (IsDirectory(entry)) {
      LogInfo(JoinWide({kUnexpectedFolderInInstaller, name}));
      return false;
    }
    if (name != kSetupExe) {
      LogInfo(JoinWide({kUnexpectedFileInInstaller, name}));
      return false;
    }
    setupFound = true;
    LogInfo(kFoundSetup);
  } while (::FindNextFileW(find.get(), &entry));
  find.reset();

  if (items != 1) {
    LogInfo(JoinWide({kExpectedOneInInstaller, ToWideDecimal(items), kItemsSuffix}));
    return false;
  }
  if (!setupFound) {
    LogInfo(kSetupNotFound);
    return false;
  }
  return true;
}

// setup.exe first, by every means; the version folder only once it is gone.
bool DeleteLeftoverSetup(const std::wstring& setupPath) {
  LogInfo(JoinWide({kAttemptingSetup, setupPath}));
  if (::DeleteFileW(setupPath.c_str())) {
    LogInfo(JoinWide({kDeletedSetup, setupPath}));
    return true;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({kFailedDeleteSetup, setupPath, kErrorSuffix, ToWideDecimal(error)}));
  if (DeleteFileWithFallback(setupPath)) {
    LogInfo(kMovedSetup);
    return true;
  }
  LogInfo(kTryingMultiProcess);
  if (DeleteFileMultiProcess(setupPath)) {
    LogInfo(kDeletedSetupMultiProcess);
    return true;
  }
  LogInfo(JoinWide({kAllSetupMethodsFailed, setupPath}));
  LogInfo(kSkippingVersionDir);
  return false;
}

void DeleteVersionDirectory(const std::wstring& dir) {
  LogInfo(JoinWide({kAttemptingVersionDir, dir}));
  if (!DeleteDirectoryTree(dir)) {
    LogInfo(JoinWide({kFailedVersionContents, dir}));
    return;
  }
  LogInfo(JoinWide({kDeletedVersionDir, dir}));
  // DeleteDirectoryTree has normally removed dir already, so this usually
  // fails with 2 and ends in a harmless reboot request for a missing path.
  if (::RemoveDirectoryW(dir.c_str())) {
    LogInfo(JoinWide({kRemovedVersionDir, dir}));
    return;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({kFailedRemoveVersionDir, dir, kErrorSuffix, ToWideDecimal(error)}));
  if (ScheduleDeleteOnReboot(dir)) {
    LogInfo(JoinWide({kScheduledVersionDir, dir}));
  } else {
    LogInfo(JoinWide({kFailedScheduleVersionDir, dir}));
  }
}

}  // namespace

bool CheckInstallDirMinimalState(const InstallationRecord& installation) {
  LogInfo(kChecking);
  const std::wstring& installPath = installation.install_path;
  if (installPath.empty()) {
    LogInfo(kPathEmpty);
    return false;
  }
  std::wstring other;
  if (!CheckRootLevel(installPath, other)) return false;
  const std::wstring otherPath = JoinWide({installPath, L"\\", other});
  if (!CheckVersionLevel(otherPath, other)) return false;
  if (!CheckInstallerLevel(JoinWide({otherPath, L"\\", kInstallerFolder}))) return false;

  LogInfo(kAllConditionsMet);
  LogInfo(JoinWide({kConditionTwoFolders, other}));
  LogInfo(JoinWide({kConditionPrefix, other, kConditionOnlyInstaller}));
  LogInfo(kConditionOnlySetup);
  LogInfo(kMinimalState);
  return true;
}

void CleanupInstallationDirectory(const InstallationRecord& installation) {
  if (!CheckInstallDirMinimalState(installation)) {
    LogInfo(kSkippingCleanup);
    return;
  }
  LogInfo(kProceeding);
  // The version folder is the one the registry names, not the one the check
  // found; in the minimal state they are the same.
  const std::wstring versionDir = JoinWide({installation.install_path, L"\\", installation.pv});
  const std::wstring setupPath = JoinWide({versionDir, L"\\", kInstallerFolder, L"\\", kSetupExe});
  if (!DeleteLeftoverSetup(setupPath)) return;
  DeleteVersionDirectory(versionDir);
}

void DeleteEmptyParentDirectory(const std::wstring& filePath) {
  LogInfo(JoinWide({kAttemptingParent, filePath}));
  const size_t separator = filePath.rfind(L'\\');
  if (filePath.empty() || separator == std::wstring::npos) {
    LogInfo(JoinWide({kNoParent, filePath}));
    return;
  }
  const std::wstring parent = filePath.substr(0, separator);
  LogInfo(JoinWide({kParentIs, parent}));

  {
    WIN32_FIND_DATAW entry{};
    UniqueFind find(::FindFirstFileW((parent + L"\\*").c_str(), &entry));
    if (!find) {
      LogInfo(JoinWide({kSearchParentFailed, parent}));
      return;
    }
    do {
      if (IsDotEntry(entry.cFileName)) continue;
      LogInfo(JoinWide({kParentNotEmptyFound, entry.cFileName}));
      find.reset();
      LogInfo(JoinWide({kParentNotEmptySkipping, parent}));
      return;
    } while (::FindNextFileW(find.get(), &entry));
  }

  LogInfo(JoinWide({kParentEmpty, parent}));
  if (::RemoveDirectoryW(parent.c_str())) {
    LogInfo(JoinWide({kDeletedParent, parent}));
    DeleteEmptyParentDirectory(parent);
    return;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({kFailedDeleteParent, parent, kErrorSuffix, ToWideDecimal(error)}));
  LogInfo(kTryingMultiProcessParent);
  DeleteDirectoryMultiProcess(parent);
}

}  // namespace oru
