#include "remove/file_fallback.h"

#include <windows.h>

#include <cstdlib>

#include "common/entry_removal.h"
#include "common/path_rules.h"
#include "common/strings.h"
#include "common/temp_folder.h"
#include "log/setup_logger.h"

namespace oru {
namespace {

constexpr std::wstring_view kArrow = L" -> ";
// The system's own temporary names take only its first three characters.
constexpr wchar_t kTempPrefix[] = L"oru_del_";
constexpr std::wstring_view kLogMarker = L".log";

constexpr DWORD kLogFilePauseMs = 100;
constexpr DWORD kRetryStepMs = 200;
constexpr int kMaxMoveAttempts = 5;
constexpr int kNamePasses = 10;

unsigned long SystemTick() { return ::GetTickCount(); }
int SystemRandom() { return std::rand(); }

TickSource g_tick = SystemTick;
RandomSource g_random = SystemRandom;

// Only these two mean "someone still has it open"; anything else will not
// change by waiting.
bool IsInUseError(DWORD error) { return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED; }

// The manual and fallback temporary names. directory is used as given (the
// system's temporary path ends in a backslash, so the result holds two).
std::wstring ManualTempDeleteName(const std::wstring& directory, unsigned long tick, int random,
                                  const std::wstring& baseName) {
  return JoinWide({directory, L"\\", kTempPrefix, ToWideDecimal(tick), L"_", ToWideDecimal(random), L"_", baseName});
}

std::wstring FallbackTempDeleteName(const std::wstring& directory, unsigned long tick, const std::wstring& baseName) {
  return JoinWide({directory, L"\\oru_del_fallback_", ToWideDecimal(tick), L"_", baseName});
}

}  // namespace

void SetTempNameSourcesForTesting(TickSource tick, RandomSource random) {
  g_tick = tick != nullptr ? tick : SystemTick;
  g_random = random != nullptr ? random : SystemRandom;
}

std::wstring GenerateTempDeleteName(const std::wstring& path) {
  // The names keep the system's own trailing backslash: the texts a reader
  // of the log knows hold two.
  std::wstring directory = SystemTempFolder();
  if (directory.empty()) {
    LogInfo(L"Failed to get temp path, using current directory");
    directory = L".";
  } else {
    directory += L'\\';
  }
  const std::wstring baseName(FileNamePart(path));

  for (int pass = 0; pass < kNamePasses; ++pass) {
    wchar_t systemName[MAX_PATH] = {};
    if (::GetTempFileNameW(directory.c_str(), kTempPrefix, 0, systemName) != 0) {
      if (!EntryExists(systemName)) {
        LogInfo(JoinWide({L"Generated temp file name: ", systemName}));
        return systemName;
      }
      // The call creates the file it names; an empty placeholder must not
      // stay behind in the user's temporary directory.
      (void)RemoveFileEntry(systemName);
    }
    std::wstring manual = ManualTempDeleteName(directory, g_tick(), g_random(), baseName);
    if (!EntryExists(manual)) {
      LogInfo(JoinWide({L"Generated temp file name (manual): ", manual}));
      return manual;
    }
  }
  std::wstring fallback = FallbackTempDeleteName(directory, g_tick(), baseName);
  LogInfo(JoinWide({L"Generated temp file name (fallback): ", fallback}));
  return fallback;
}

bool DeleteFileWithFallback(const std::wstring& path) {
  LogInfo(JoinWide({L"Moving file to temp and scheduling deletion: ", path}));
  // A plain deletion: the callers have already lifted a read-only attribute
  // and put it back, so what refuses here is something the move can get past.
  if (::DeleteFileW(ExtendedLengthPath(path).c_str())) {
    LogInfo(JoinWide({L"Successfully deleted file directly: ", path}));
    return true;
  }
  const DWORD deleteError = ::GetLastError();
  LogInfo(JoinWide({L"Cannot delete file directly, error: ", ToWideDecimal(deleteError), L", trying to move to temp"}));

  // Our own log may still be open in this process or a child: a short pause
  // has proved enough for such handles to go, so nothing more is attempted.
  if (path.size() >= kLogMarker.size() && path.find(kLogMarker) != std::wstring::npos) {
    LogInfo(L"Detected log file, attempting to close any open handles");
    ::Sleep(kLogFilePauseMs);
  }

  std::wstring temp = GenerateTempDeleteName(path);
  if (EntryExists(temp)) {
    LogInfo(JoinWide({L"Temp file already exists, deleting: ", temp}));
    if (!RemoveFileEntry(temp)) {
      const DWORD error = ::GetLastError();
      LogInfo(JoinWide({L"Failed to delete existing temp file: ", temp, kErrorSuffix, ToWideDecimal(error)}));
      temp = GenerateTempDeleteName(path);
    }
  }

  for (int attempt = 0;;) {
    if (attempt > 0) {
      LogInfo(JoinWide({L"Retry attempt ", ToWideDecimal(attempt), L" to move file: ", path}));
      ::Sleep(static_cast<DWORD>(attempt) * kRetryStepMs);
    }
    if (::MoveFileW(ExtendedLengthPath(path).c_str(), ExtendedLengthPath(temp).c_str())) {
      LogInfo(JoinWide({L"Successfully moved file to temp: ", temp}));
      // Once the file has left its place the job is done, whether or not the
      // copy in the temporary directory will ever be removed.
      if (::MoveFileExW(ExtendedLengthPath(temp).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
        LogInfo(JoinWide({L"Scheduled temp file deletion on reboot: ", temp}));
      } else {
        LogInfo(JoinWide({L"Failed to schedule temp file deletion on reboot: ", temp}));
      }
      return true;
    }
    const DWORD error = ::GetLastError();
    LogInfo(JoinWide({L"Attempt ", ToWideDecimal(attempt + 1), L" failed to move file: ", path, kArrow, temp,
                      kErrorSuffix, ToWideDecimal(error)}));
    ++attempt;
    if (!IsInUseError(error) || attempt >= kMaxMoveAttempts) break;
  }

  LogInfo(JoinWide({L"Failed to move file to temp after all retries: ", path, kArrow, temp}));
  if (::MoveFileExW(ExtendedLengthPath(path).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
    LogInfo(JoinWide({L"Scheduled original file deletion on reboot: ", path}));
    return true;
  }
  LogInfo(JoinWide({L"Failed to schedule file deletion on reboot: ", path}));
  return false;
}

bool ScheduleDeleteOnReboot(const std::wstring& path) {
  LogInfo(JoinWide({L"Scheduling for deletion on reboot: ", path}));
  if (::MoveFileExW(ExtendedLengthPath(path).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
    LogInfo(JoinWide({L"Successfully scheduled for deletion on reboot: ", path}));
    return true;
  }
  const DWORD error = ::GetLastError();
  LogInfo(JoinWide({L"Failed to schedule for deletion on reboot: ", path, kErrorSuffix, ToWideDecimal(error)}));
  return false;
}

}  // namespace oru
