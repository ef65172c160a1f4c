#include "remove/file_fallback.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/strings.h"
#include "support/child_process.h"
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
  const std::wstring manual = PinTempNames() + L"5012345_41_" + base;
  const std::wstring fallback = PinTempNames() + L"fallback_5012345_" + base;
  const struct {
    std::wstring relative;
    bool pause;
    std::wstring temp;
    bool clearsTaken;
  } cases[] = {
      {L"plain.txt", false, L"", false},
      {L"logs\\" + base, false, manual, false},
      {L"a.logs\\" + base, true, fallback, false},
      {L"c\\" + base, false, fallback, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(WideToUtf8(c.relative));
    const std::wstring file = dir.WriteFile(c.relative);
    if (!c.temp.empty()) ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    LogCapture log;
    EXPECT_TRUE(DeleteFileWithFallback(file));
    EXPECT_FALSE(Exists(file));
    EXPECT_EQ(log.Has(L"Successfully deleted file directly: " + file), c.temp.empty());
    EXPECT_EQ(log.Has(L"Detected log file, attempting to close any open handles"), c.pause);
    EXPECT_EQ(log.Has(L"Temp file already exists, deleting: " + fallback), c.clearsTaken);
    EXPECT_EQ(log.Has(L"Scheduled temp file deletion on reboot: " + c.temp), !c.temp.empty());
    // The reboot removes the moved copy, not the emptied place.
    EXPECT_EQ(IsPendingDeletion(c.temp), !c.temp.empty());
    EXPECT_FALSE(IsPendingDeletion(file));
    ::SetFileAttributesW(c.temp.c_str(), FILE_ATTRIBUTE_NORMAL);  // taken, but deletable
  }
  ::DeleteFileW(manual.c_str());
  ::DeleteFileW(fallback.c_str());
}

// Only a file in use (or denied: FaultInjection.MoveDenied) is retried,
// 200 + 400 + 600 + 800 ms; any other failure goes straight to the reboot,
// which registers the original. A longer or an extra pause fails too.
TEST(DeleteFileWithFallback, UnmovableFileIsRetriedWhileInUseThenScheduledForReboot) {
  TempDir dir;
  const std::wstring locked = dir.WriteFile(L"locked.dat");
  ChildProcess holder = ChildProcess::HoldFile(locked);
  ASSERT_TRUE(holder.Running());
  const struct {
    std::wstring file;
    int attempts;
    const wchar_t* error;
    DWORD minMs, maxMs;
  } cases[] = {{locked, 5, L"32", 1900, 2900}, {dir.Child(L"never_there.txt"), 1, L"2", 0, 500}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.attempts);
    const std::wstring temp = PinTempNames() + L"5012345_41_" + std::wstring(FileNamePart(c.file));
    LogCapture log;
    const DWORD started = ::GetTickCount();
    EXPECT_TRUE(DeleteFileWithFallback(c.file));
    const DWORD elapsed = ::GetTickCount() - started;
    EXPECT_GE(elapsed, c.minMs);
    EXPECT_LT(elapsed, c.maxMs);
    std::vector<std::wstring> expected;
    for (int n = 1; n <= c.attempts; ++n) {
      if (n > 1) expected.push_back(L"Retry attempt " + std::to_wstring(n - 1) + L" to move file: " + c.file);
      expected.push_back(L"Attempt " + std::to_wstring(n) + L" failed to move file: " + c.file + L" -> " + temp +
                         L", error: " + c.error);
    }
    expected.push_back(L"Failed to move file to temp after all retries: " + c.file + L" -> " + temp);
    expected.push_back(L"Scheduled original file deletion on reboot: " + c.file);
    const auto lines = log.Lines();
    ASSERT_GE(lines.size(), expected.size());
    EXPECT_EQ(std::vector<std::wstring>(lines.end() - static_cast<long>(expected.size()), lines.end()), expected);
    EXPECT_TRUE(IsPendingDeletion(c.file));
  }
}

}  // namespace
}  // namespace oru::test
