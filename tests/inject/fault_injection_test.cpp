// The injector through real product code: a fault lands on the call it names
// (function, occurrence, path) and no other, in the form the product reads.

#include "inject/fault_injector.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "common/directory_entries.h"
#include "common/strings.h"
#include "remove/file_fallback.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "sys/registry.h"

namespace oru::test {
namespace {

TEST(FaultInjection, RegistryOpenFailsAtTheNamedOccurrenceOfTheNamedKeyOnly) {
  const std::wstring root = L"SOFTWARE\\OruInjectTest_" + std::to_wstring(::GetCurrentProcessId());
  const std::wstring a = root + L"\\a", b = root + L"\\b";
  for (const auto& key : {a, b}) ::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"pv", REG_SZ, L"v", 4);
  LogCapture log;
  {
    // Letter case ignored: the filter names the key as "\B".
    const ScopedFault denied{L"RegOpenKeyExW", ERROR_ACCESS_DENIED, 2, L"\\B"};
    EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, b, L"pv"), L"v");
    EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, a, L"pv"), L"v");
    EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, b, L"pv"), L"");
    EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, b, L"pv"), L"v");
    EXPECT_EQ(CallCount(L"RegOpenKeyExW"), 4u);
  }
  EXPECT_EQ(log.Count(L"Failed to open registry key: " + b), 1u);
  EXPECT_EQ(log.Count(L"Failed to open registry key: " + a), 0u);
  EXPECT_EQ(CallCount(L"RegOpenKeyExW"), 0u);  // the table is back as it was
  ::RegDeleteTreeW(HKEY_CURRENT_USER, root.c_str());
}

// Access denied on a move is what Windows gives for a file another user's
// process maps; Wine as root never does. The second move of this folder fails
// once and the retry gets past it.
TEST(FaultInjection, MoveDeniedAtTheSecondCallOnlyIsRetried) {
  TempDir dir;
  const std::wstring first = dir.WriteFile(L"first.txt"), second = dir.WriteFile(L"second.txt");
  LogCapture log;
  {
    const ScopedFault undeletable{L"DeleteFileW", ERROR_ACCESS_DENIED, 0, dir.path()};
    const ScopedFault denied{L"MoveFileW", ERROR_ACCESS_DENIED, 2, dir.path()};
    // Nothing left to the next reboot: the moved copies are removed below.
    const ScopedFault noReboot{L"MoveFileExW", ERROR_ACCESS_DENIED, 0, L"oru_del_"};
    EXPECT_TRUE(DeleteFileWithFallback(first));
    EXPECT_TRUE(DeleteFileWithFallback(second));
  }
  EXPECT_FALSE(log.HasFragment(L"failed to move file: " + first));
  EXPECT_TRUE(log.HasFragment(L"Attempt 1 failed to move file: " + second));
  EXPECT_TRUE(log.HasFragment(L", error: 5"));
  EXPECT_FALSE(log.HasFragment(L"Attempt 2 failed"));
  EXPECT_EQ(log.Count(L"Retry attempt 1 to move file: " + second), 1u);
  for (const auto& line : log.Lines()) {
    if (line.starts_with(L"Successfully moved file to temp: ")) ::DeleteFileW(line.substr(33).c_str());
  }
  EXPECT_FALSE(Exists(first) || Exists(second));
}

// A listing that ends with anything but "no more files" (a share gone away)
// is no listing; "no more files" early is an end like any other.
TEST(FaultInjection, ListingBrokenOffFailsUnlessItSaysNoMoreFiles) {
  TempDir dir;
  for (const auto* name : {L"a", L"b", L"c"}) dir.WriteFile(name);
  for (const DWORD error : {DWORD{ERROR_NETNAME_DELETED}, DWORD{ERROR_NO_MORE_FILES}}) {
    SCOPED_TRACE(error);
    const ScopedFault brokenOff{L"FindNextFileW", error, 2};
    int seen = 0;
    const bool listed = ForEachEntry(dir.path(), [&](const DirectoryEntry&) { return ++seen > 0; });
    EXPECT_EQ(::GetLastError(), error);
    EXPECT_EQ(listed, error == ERROR_NO_MORE_FILES);
    EXPECT_LT(seen, 3);  // the second call broke it off before its end
  }
}

}  // namespace
}  // namespace oru::test
