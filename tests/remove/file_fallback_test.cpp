#include "remove/file_fallback.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/strings.h"
#include "support/log_capture.h"
#include "support/reboot_list.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

// Wine carries out and clears the reboot operations on any wineboot, so
// they are read back at once.
bool IsPendingDeletion(std::wstring path) {
  // Recorded as the system resolves it: without a doubled separator.
  for (size_t at; (at = path.find(L"\\\\")) != std::wstring::npos;) path.erase(at, 1);
  return PendingRenames().find(L"\\??\\" + path + L'\0') != std::wstring::npos;
}

// Pins the tick and random value, so temporary names are known in advance:
// the returned prefix plus the rest of each name.
std::wstring PinTempNames() {
  SetTempNameSourcesForTesting([] { return 5012345ul; }, [] { return 41; });
  return TempFolder() + L"\\\\oru_del_";  // the temporary path's own backslash and one more
}

// Read-only files refuse deletion (5) but can be renamed into the temporary
// directory; ".log" anywhere in the path adds a pause first. Each move leaves
// taken the name the next one would have used.
TEST(DeleteFileWithFallback, PlainFileGoesAtOnceReadOnlyFileMovesToAFreeTempName) {
  TempDir dir;
  const std::wstring base = L"b_" + std::to_wstring(::GetCurrentProcessId()) + L".txt";
  const std::wstring manual = PinTempNames() + L"5012345_41_" + base,
                     fallback = PinTempNames() + L"fallback_5012345_" + base;
  const auto row = [&](const std::wstring& relative, bool pause, const std::wstring& temp, bool clearsTaken) {
    SCOPED_TRACE(WideToUtf8(relative));
    const std::wstring file = dir.WriteFile(relative);
    if (!temp.empty()) ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    LogCapture log;
    EXPECT_TRUE(DeleteFileWithFallback(file));
    EXPECT_FALSE(Exists(file));
    EXPECT_EQ(log.Has(L"Successfully deleted file directly: " + file), temp.empty());
    EXPECT_EQ(log.Has(L"Detected log file, attempting to close any open handles"), pause);
    EXPECT_EQ(log.Has(L"Temp file already exists, deleting: " + fallback), clearsTaken);
    EXPECT_EQ(log.Has(L"Scheduled temp file deletion on reboot: " + temp), !temp.empty());
    // The reboot removes the moved copy, not the emptied place.
    EXPECT_EQ(IsPendingDeletion(temp), !temp.empty());
    EXPECT_FALSE(IsPendingDeletion(file));
    ::SetFileAttributesW(temp.c_str(), FILE_ATTRIBUTE_NORMAL);  // taken, but deletable
  };
  row(L"plain.txt", false, L"", false);
  row(L"logs\\" + base, false, manual, false);
  row(L"a.logs\\" + base, true, fallback, false);
  row(L"c\\" + base, false, fallback, true);
  for (const std::wstring& name : {manual, fallback}) ::DeleteFileW(name.c_str());
}

// A read-only file, refused its direct deletion (5) for real. Only a move
// refused as in use (32) or denied (5) is retried, 200 + 400 + 600 + 800 ms;
// any other goes straight to the reboot, which registers the original.
TEST(DeleteFileWithFallback, EveryFallbackThatFailsSaysSo) {
  TempDir dir;
  const std::wstring base = L"f_" + std::to_wstring(::GetCurrentProcessId()) + L".txt", file = dir.Child(base);
  const std::wstring temp = PinTempNames() + L"5012345_41_" + base,
                     taken = PinTempNames() + L"fallback_5012345_" + base;
  const std::wstring moveFailed = L" failed to move file: " + file + L" -> " + temp + L", error: ";
  const std::wstring afterAll = L"Failed to move file to temp after all retries: " + file + L" -> " + temp;
  const Fault noMove{L"MoveFileW", ERROR_FILE_NOT_FOUND}, noReboot{L"MoveFileExW", ERROR_ACCESS_DENIED};
  const auto row = [&](const std::vector<Fault>& faults, bool namesTaken, bool result,
                       const std::vector<std::wstring>& lines, DWORD minMs = 0, DWORD maxMs = 1900) {
    for (const std::wstring& name : {temp, taken}) {
      ::SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
      ::DeleteFileW(name.c_str());
      if (namesTaken) WriteFileAt(name);
    }
    if (!Exists(file)) dir.WriteFile(base);
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    const DWORD started = ::GetTickCount();
    EXPECT_TRUE(LinesInOrder(LinesUnder(faults, [&] { EXPECT_EQ(DeleteFileWithFallback(file), result); }), lines));
    EXPECT_TRUE(::GetTickCount() - started >= minMs && ::GetTickCount() - started < maxMs);
  };
  row({{L"MoveFileW", 32}}, false, true,
      {L"Attempt 1" + moveFailed + L"32", L"Retry attempt 4 to move file: " + file, L"Attempt 5" + moveFailed + L"32",
       afterAll, L"Scheduled original file deletion on reboot: " + file},
      1900, 2900);
  row({{L"MoveFileW", 5, 1}, noReboot}, false, true,
      {L"Attempt 1" + moveFailed + L"5", L"Retry attempt 1 to move file: " + file,
       L"Failed to schedule temp file deletion on reboot: " + temp});
  row({noMove, noReboot}, false, false,
      {L"Attempt 1" + moveFailed + L"2", afterAll, L"Failed to schedule file deletion on reboot: " + file});
  row({{L"GetTempPathW", 0}, noMove, noReboot}, false, false,
      {L"Failed to get temp path, using current directory",
       L"Generated temp file name (manual): .\\oru_del_5012345_41_" + base});
  row({{L"DeleteFileW", 5, 0, L"oru_del_fallback"}, noReboot}, true, false,
      {L"Temp file already exists, deleting: " + taken,
       L"Failed to delete existing temp file: " + taken + L", error: 5"});
  for (const std::wstring& name : {temp, taken}) ::DeleteFileW(name.c_str());
  EXPECT_EQ(LinesUnder({noReboot}, [&] { EXPECT_FALSE(ScheduleDeleteOnReboot(file)); }),
            (std::vector<std::wstring>{L"Scheduling for deletion on reboot: " + file,
                                       L"Failed to schedule for deletion on reboot: " + file + L", error: 5"}));
}

}  // namespace
}  // namespace oru::test
