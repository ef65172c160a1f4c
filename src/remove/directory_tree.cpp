#include "remove/directory_tree.h"

#include <windows.h>

#include "common/directory_entries.h"
#include "common/entry_removal.h"
#include "common/event_names.h"
#include "common/event_params.h"
#include "common/path_rules.h"
#include "common/strings.h"
#include "common/tree_removal.h"
#include "log/setup_logger.h"
#include "remove/file_fallback.h"
#include "telemetry/event_reporter.h"

namespace oru {
namespace {

constexpr std::wstring_view kFailedRemoveDirectory = L"Failed to remove directory: ";

constexpr char kDirDone[] = "uninstall_delete_dir_done";
constexpr char kDirFail[] = "uninstall_delete_dir_fail";
constexpr char kFileDone[] = "uninstall_delete_file_done";
constexpr char kFileFail[] = "uninstall_delete_file_fail";

EventParams DirParams(const std::wstring& dir) { return {{"dir_path", WideToUtf8(dir)}}; }
EventParams FileParams(const std::wstring& file) { return {{"file_path", WideToUtf8(file)}}; }

// Whether events go out: the clean-up that runs after the telemetry
// library is gone reports nothing, since nothing would ever send it.
class Events {
 public:
  explicit Events(bool reported) : reported_(reported) {}
  void Report(const char* name, const EventParams& params) const {
    if (reported_) EventReporter::GetInstance().Report(name, params);
  }

 private:
  bool reported_;
};

bool DeleteFileEntry(const std::wstring& file, const Events& events) {
  events.Report("uninstall_delete_file_start", FileParams(file));
  if (RemoveFileEntry(file)) {
    LogInfo(JoinWide({L"Successfully deleted file: ", file}));
    events.Report(kFileDone, FileParams(file));
    return true;
  }
  const DWORD error = ::GetLastError();
  EventParams failure = FileParams(file);
  failure["error_code"] = ToDecimal(error);
  if (error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION) {
    LogInfo(JoinWide({L"File in use, moving to temp and scheduling for deletion: ", file}));
    if (DeleteFileWithFallback(file)) {
      events.Report(kFileDone, FileParams(file));
      return true;
    }
    events.Report(kFileFail, failure);
    return false;
  }
  LogInfo(JoinWide({L"Failed to delete file: ", file, kErrorSuffix, ToWideDecimal(error)}));
  events.Report(kFileFail, failure);
  return false;
}

// The uninstall's own policy for the walk: an event at the start and end of
// every folder and file, the fallbacks for files in use, and the reboot for
// folders that stay.
class ReportedTreeRemoval final : public TreeRemoval, private Events {
 public:
  explicit ReportedTreeRemoval(bool reported) : Events(reported) {}

 protected:
  void FolderEntered(const std::wstring& dir) override {
    LogInfo(JoinWide({L"Recursively deleting directory: ", dir}));
    Report("uninstall_delete_dir_start", DirParams(dir));
  }

  bool RemoveFile(const std::wstring& file) override { return DeleteFileEntry(file, *this); }

  void LinkRemoved(const std::wstring& link, std::uint32_t error) override {
    if (error == ERROR_SUCCESS) {
      LogInfo(JoinWide({L"Removed link without following it: ", link}));
    } else {
      LogInfo(
          JoinWide({L"Failed to remove link, its target is left alone: ", link, kErrorSuffix, ToWideDecimal(error)}));
    }
  }

  void ListingFailed(const std::wstring& dir, std::uint32_t) override {
    LogInfo(JoinWide({kListingFailedLine, dir}));
    EventParams failure = DirParams(dir);
    failure[kErrorKey] = "find_failed";
    Report(kDirFail, failure);
  }

  // The walk below has normally removed child already, so this usually fails
  // with 2 and logs it; kept, and it never sets the result.
  void SubfolderWalked(const std::wstring& child) override {
    if (!RemoveFolderEntry(child)) {
      const DWORD error = ::GetLastError();
      LogInfo(JoinWide({kFailedRemoveDirectory, child, kErrorSuffix, ToWideDecimal(error)}));
    }
  }

  void FolderRemoved(const std::wstring& dir) override {
    LogInfo(JoinWide({L"Successfully deleted directory: ", dir}));
    Report(kDirDone, DirParams(dir));
  }

  bool FolderStayed(const std::wstring& dir, std::uint32_t error) override {
    // A directory still holding something is left to the reboot without a
    // line of its own: its entries have already logged why they stayed.
    if (error != ERROR_DIR_NOT_EMPTY) {
      LogInfo(JoinWide({kFailedRemoveDirectory, dir, kErrorSuffix, ToWideDecimal(error)}));
    }
    if (::MoveFileExW(ExtendedLengthPath(dir).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
      LogInfo(JoinWide({L"Scheduled directory deletion on reboot: ", dir}));
      EventParams done = DirParams(dir);
      done["scheduled_reboot"] = BoolText(true);
      Report(kDirDone, done);
      return true;
    }
    LogInfo(JoinWide({L"Failed to schedule directory deletion on reboot: ", dir}));
    EventParams failure = DirParams(dir);
    failure[kErrorKey] = "schedule_failed";
    Report(kDirFail, failure);
    return false;
  }
};

}  // namespace

bool DeleteEntryUnreported(const std::wstring& dir, const DirectoryEntry& entry) {
  ReportedTreeRemoval removal(false);
  return removal.RemoveEntry(dir, entry);
}

bool DeleteDirectoryTree(const std::wstring& dir) {
  ReportedTreeRemoval removal(true);
  return removal.RemoveTree(dir);
}

}  // namespace oru
