#include "remove/directory_tree.h"

#include <windows.h>

#include "common/directory_entries.h"
#include "common/event_params.h"
#include "common/links.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "remove/file_fallback.h"
#include "telemetry/event_reporter.h"

namespace oru {
namespace {

constexpr std::wstring_view kRecursivelyDeleting = L"Recursively deleting directory: ";
constexpr std::wstring_view kFindFailed = L"Failed to find files in directory: ";
constexpr std::wstring_view kFailedRemoveDirectory = L"Failed to remove directory: ";
constexpr std::wstring_view kDeletedFile = L"Successfully deleted file: ";
constexpr std::wstring_view kFileInUse = L"File in use, moving to temp and scheduling for deletion: ";
constexpr std::wstring_view kFailedDeleteFile = L"Failed to delete file: ";
constexpr std::wstring_view kDeletedDirectory = L"Successfully deleted directory: ";
constexpr std::wstring_view kScheduledDirectory = L"Scheduled directory deletion on reboot: ";
constexpr std::wstring_view kFailedScheduleDirectory = L"Failed to schedule directory deletion on reboot: ";
constexpr std::wstring_view kRemovedLink = L"Removed link without following it: ";
constexpr std::wstring_view kFailedRemoveLink = L"Failed to remove link, its target is left alone: ";
constexpr std::wstring_view kErrorSuffix = L", error: ";

constexpr char kDirStart[] = "uninstall_delete_dir_start";
constexpr char kDirDone[] = "uninstall_delete_dir_done";
constexpr char kDirFail[] = "uninstall_delete_dir_fail";
constexpr char kFileStart[] = "uninstall_delete_file_start";
constexpr char kFileDone[] = "uninstall_delete_file_done";
constexpr char kFileFail[] = "uninstall_delete_file_fail";
constexpr char kDirPath[] = "dir_path";
constexpr char kFilePath[] = "file_path";
constexpr char kError[] = "error";
constexpr char kErrorCode[] = "error_code";
constexpr char kScheduledReboot[] = "scheduled_reboot";
constexpr char kFindFailedValue[] = "find_failed";
constexpr char kScheduleFailedValue[] = "schedule_failed";

void Report(const char* name, EventParams params) { EventReporter::GetInstance().Report(name, params); }

EventParams DirParams(const std::wstring& dir) { return {{kDirPath, WideToUtf8(dir)}}; }
EventParams FileParams(const std::wstring& file) { return {{kFilePath, WideToUtf8(file)}}; }

// A link is removed as an entry of its own directory; entering it would
// delete whatever it points to, possibly far outside the product.
bool RemoveLink(const std::wstring& link) {
  if (::RemoveDirectoryW(link.c_str())) {
    LogInfo(JoinWide({kRemovedLink, link}));
    return true;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({kFailedRemoveLink, link, kErrorSuffix, ToWideDecimal(error)}));
  return false;
}

bool DeleteFileEntry(const std::wstring& file) {
  Report(kFileStart, FileParams(file));
  if (::DeleteFileW(file.c_str())) {
    LogInfo(JoinWide({kDeletedFile, file}));
    Report(kFileDone, FileParams(file));
    return true;
  }
  const DWORD error = ::GetLastError();
  EventParams failure = FileParams(file);
  failure[kErrorCode] = ToDecimal(error);
  if (error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION) {
    LogInfo(JoinWide({kFileInUse, file}));
    if (DeleteFileWithFallback(file)) {
      Report(kFileDone, FileParams(file));
      return true;
    }
    Report(kFileFail, failure);
    return false;
  }
  LogInfo(JoinWide({kFailedDeleteFile, file, kErrorSuffix, ToWideDecimal(error)}));
  Report(kFileFail, failure);
  return false;
}

}  // namespace

bool DeleteDirectoryTree(const std::wstring& dir) {
  // The rule for entries holds for the folder passed in too: a link is
  // removed as a link, never walked.
  if (IsLink(dir)) return RemoveLink(dir);
  LogInfo(JoinWide({kRecursivelyDeleting, dir}));
  Report(kDirStart, DirParams(dir));

  bool result = true;
  const bool listed = ForEachEntry(dir, [&](const DirectoryEntry& entry) {
    const std::wstring child = JoinWide({dir, L"\\", entry.name});
    // A file link goes by DeleteFileW like any file: that removes the link.
    if (entry.IsLink() && entry.IsDirectory()) {
      if (!RemoveLink(child)) result = false;
    } else if (entry.IsDirectory()) {
      if (!DeleteDirectoryTree(child)) result = false;
      // The recursive call has normally removed child already, so this
      // usually fails with 2 and logs it; kept, and it never sets the result.
      if (!::RemoveDirectoryW(child.c_str())) {
        const DWORD error = ::GetLastError();
        LogInfo(JoinWide({kFailedRemoveDirectory, child, kErrorSuffix, ToWideDecimal(error)}));
      }
    } else if (!DeleteFileEntry(child)) {
      result = false;
    }
    return true;
  });
  if (!listed) {
    LogInfo(JoinWide({kFindFailed, dir}));
    EventParams failure = DirParams(dir);
    failure[kError] = kFindFailedValue;
    Report(kDirFail, failure);
    return false;
  }

  if (::RemoveDirectoryW(dir.c_str())) {
    LogInfo(JoinWide({kDeletedDirectory, dir}));
    Report(kDirDone, DirParams(dir));
    return result;
  }
  const DWORD error = ::GetLastError();
  // A directory still holding something is left to the reboot without a
  // line of its own: its entries have already logged why they stayed.
  if (error != ERROR_DIR_NOT_EMPTY) {
    LogInfo(JoinWide({kFailedRemoveDirectory, dir, kErrorSuffix, ToWideDecimal(error)}));
  }
  if (::MoveFileExW(dir.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
    LogInfo(JoinWide({kScheduledDirectory, dir}));
    EventParams done = DirParams(dir);
    done[kScheduledReboot] = BoolText(true);
    Report(kDirDone, done);
    return result;
  }
  LogInfo(JoinWide({kFailedScheduleDirectory, dir}));
  EventParams failure = DirParams(dir);
  failure[kError] = kScheduleFailedValue;
  Report(kDirFail, failure);
  return false;
}

}  // namespace oru
