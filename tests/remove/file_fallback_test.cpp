#include "remove/file_fallback.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>

#include "remove/pending_renames.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::ChildProcess;
using test::Exists;
using test::LogCapture;
using test::TempDir;

unsigned long PinnedTick() { return 5012345; }
int PinnedRandom() { return 41; }

std::wstring TempPath() {
  wchar_t buffer[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, buffer);
  return buffer;
}

// A base name no other test program uses at the same time.
std::wstring UniqueName(const std::wstring& stem) {
  return stem + L"_" + std::to_wstring(::GetCurrentProcessId()) + L".txt";
}

bool Touch(const std::wstring& path) {
  std::FILE* file = ::_wfopen(path.c_str(), L"wb");
  if (file == nullptr) return false;
  std::fclose(file);
  return true;
}

void RemoveFile(const std::wstring& path) {
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  ::DeleteFileW(path.c_str());
}

class PinnedTempNames : public ::testing::Test {
 protected:
  void SetUp() override { SetTempNameSourcesForTesting(PinnedTick, PinnedRandom); }
  void TearDown() override { SetTempNameSourcesForTesting(nullptr, nullptr); }
};

TEST_F(PinnedTempNames, NameCarriesTickRandomAndBaseNameAndSkipsTakenNames) {
  const std::wstring base = UniqueName(L"setup");
  const std::wstring manual = TempPath() + L"\\oru_del_5012345_41_" + base;
  const std::wstring fallback = TempPath() + L"\\oru_del_fallback_5012345_" + base;
  {
    LogCapture log;
    EXPECT_EQ(GenerateTempDeleteName(L"C:\\Apps\\x\\" + base), manual);
    EXPECT_TRUE(log.Has(L"Generated temp file name (manual): " + manual));
    // The system's own candidate is created by the call itself and must not be left behind.
    EXPECT_FALSE(log.HasFragment(L"Generated temp file name: "));
  }
  // With the tick and random value pinned, every manual name collides.
  ASSERT_TRUE(Touch(manual));
  LogCapture log;
  EXPECT_EQ(GenerateTempDeleteName(base), fallback);
  EXPECT_TRUE(log.Has(L"Generated temp file name (fallback): " + fallback));
  RemoveFile(manual);
}

TEST(TempNameFormat, DirectoryIsUsedAsGivenWithOneBackslash) {
  EXPECT_EQ(ManualTempDeleteName(L"C:\\T\\", 5012345, 41, L"setup.exe"), L"C:\\T\\\\oru_del_5012345_41_setup.exe");
  EXPECT_EQ(ManualTempDeleteName(L".", 7, 0, L"a.txt"), L".\\oru_del_7_0_a.txt");
  EXPECT_EQ(FallbackTempDeleteName(L".", 4294967295ul, L"a.txt"), L".\\oru_del_fallback_4294967295_a.txt");
}

TEST(DeleteFileWithFallback, DeletableFileTakesTwoLinesAndNoTempName) {
  TempDir dir;
  const std::wstring file = dir.WriteFile(L"plain.txt");
  LogCapture log;
  EXPECT_TRUE(DeleteFileWithFallback(file));
  EXPECT_FALSE(Exists(file));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"Moving file to temp and scheduling deletion: " + file,
                                                    L"Successfully deleted file directly: " + file}));
}

// Read-only files refuse DeleteFileW with 5 but can be renamed: they leave
// for the temporary directory. ".log" anywhere in the path adds the pause.
TEST(DeleteFileWithFallback, ReadOnlyFileIsMovedToTempAndLogPathsPauseFirst) {
  TempDir dir;
  for (const std::wstring relative : {L"a.logs\\b.txt", L"logs\\b.txt"}) {
    SCOPED_TRACE(relative);
    const std::wstring file = dir.WriteFile(relative);
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    LogCapture log;
    EXPECT_TRUE(DeleteFileWithFallback(file));
    EXPECT_FALSE(Exists(file));
    EXPECT_TRUE(log.Has(L"Cannot delete file directly, error: 5, trying to move to temp"));
    EXPECT_EQ(log.Has(L"Detected log file, attempting to close any open handles"), relative.starts_with(L"a.logs"));
    std::wstring temp;
    for (const auto& line : log.Lines()) {
      if (line.starts_with(L"Successfully moved file to temp: ")) temp = line.substr(33);
    }
    ASSERT_FALSE(temp.empty());
    EXPECT_TRUE(Exists(temp));
    EXPECT_TRUE(log.Has(L"Scheduled temp file deletion on reboot: " + temp));
    RemoveFile(temp);
  }
}

TEST_F(PinnedTempNames, TakenFallbackNameIsClearedBeforeTheMove) {
  TempDir dir;
  const std::wstring base = UniqueName(L"taken");
  const std::wstring manual = TempPath() + L"\\oru_del_5012345_41_" + base;
  const std::wstring fallback = TempPath() + L"\\oru_del_fallback_5012345_" + base;
  ASSERT_TRUE(Touch(manual));
  ASSERT_TRUE(Touch(fallback));
  const std::wstring file = dir.WriteFile(base, "payload");
  ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
  LogCapture log;
  EXPECT_TRUE(DeleteFileWithFallback(file));
  EXPECT_TRUE(log.Has(L"Temp file already exists, deleting: " + fallback));
  EXPECT_TRUE(log.Has(L"Successfully moved file to temp: " + fallback));
  EXPECT_EQ(test::ReadFileBytes(fallback), "payload");
  RemoveFile(manual);
  RemoveFile(fallback);
}

TEST(DeleteFileWithFallback, LockedFileIsRetriedFourTimesThenScheduledForReboot) {
  TempDir dir;
  const std::wstring file = dir.WriteFile(L"locked.dat");
  ChildProcess holder = ChildProcess::HoldFile(file);
  ASSERT_TRUE(holder.Running());
  LogCapture log;
  const DWORD started = ::GetTickCount();
  EXPECT_TRUE(DeleteFileWithFallback(file));
  // 200 + 400 + 600 + 800 ms between the five attempts.
  EXPECT_GE(::GetTickCount() - started, 1900u);

  std::wstring temp;
  std::vector<std::wstring> retries, failures;
  for (const auto& line : log.Lines()) {
    if (line.starts_with(L"Retry attempt ")) retries.push_back(line);
    if (line.starts_with(L"Attempt ")) failures.push_back(line);
    if (line.starts_with(L"Generated temp file name")) temp = line.substr(line.find(L": ") + 2);
  }
  ASSERT_EQ(retries.size(), 4u);
  ASSERT_EQ(failures.size(), 5u);
  for (int n = 1; n <= 4; ++n) {
    EXPECT_EQ(retries[n - 1], L"Retry attempt " + std::to_wstring(n) + L" to move file: " + file);
  }
  for (int n = 1; n <= 5; ++n) {
    EXPECT_EQ(failures[n - 1],
              L"Attempt " + std::to_wstring(n) + L" failed to move file: " + file + L" -> " + temp + L", error: 32");
  }
  const auto lines = log.Lines();
  EXPECT_EQ(lines[lines.size() - 2], L"Failed to move file to temp after all retries: " + file + L" -> " + temp);
  EXPECT_EQ(lines.back(), L"Scheduled original file deletion on reboot: " + file);
  EXPECT_TRUE(test::IsPendingDeletion(file));
}

TEST(DeleteFileWithFallback, MissingFileGoesStraightToRebootScheduling) {
  TempDir dir;
  const std::wstring file = dir.Child(L"never_there.txt");
  LogCapture log;
  EXPECT_TRUE(DeleteFileWithFallback(file));
  EXPECT_TRUE(log.Has(L"Cannot delete file directly, error: 2, trying to move to temp"));
  EXPECT_FALSE(log.HasFragment(L"Retry attempt"));
  std::vector<std::wstring> failures;
  for (const auto& line : log.Lines()) {
    if (line.starts_with(L"Attempt ")) failures.push_back(line);
  }
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_TRUE(failures[0].starts_with(L"Attempt 1 failed to move file: " + file + L" -> "));
  EXPECT_TRUE(failures[0].ends_with(L", error: 2"));
  EXPECT_EQ(log.Lines().back(), L"Scheduled original file deletion on reboot: " + file);
  EXPECT_TRUE(test::IsPendingDeletion(file));
}

TEST(ScheduleDeleteOnReboot, RegistersThePath) {
  TempDir dir;
  const std::wstring file = dir.WriteFile(L"later.txt");
  LogCapture log;
  EXPECT_TRUE(ScheduleDeleteOnReboot(file));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"Scheduling for deletion on reboot: " + file,
                                                    L"Successfully scheduled for deletion on reboot: " + file}));
  EXPECT_TRUE(test::IsPendingDeletion(file));
  EXPECT_TRUE(Exists(file));
}

}  // namespace
}  // namespace oru
