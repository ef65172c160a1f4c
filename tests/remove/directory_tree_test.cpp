#include "remove/directory_tree.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/strings.h"
#include "support/child_process.h"
#include "support/event_capture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::EventCapture;
using test::Exists;
using test::LogCapture;
using test::TempDir;
using Params = EventParams;

TEST(DeleteDirectoryTree, EmptyDirectory) {
  TempDir dir;
  const std::wstring empty = dir.MakeDir(L"empty");
  EventCapture events;
  LogCapture log;
  EXPECT_TRUE(DeleteDirectoryTree(empty));
  EXPECT_FALSE(Exists(empty));
  EXPECT_EQ(events.Names(), (std::vector<std::string>{"uninstall_delete_dir_start", "uninstall_delete_dir_done"}));
  EXPECT_TRUE(log.Has(L"Successfully deleted directory: " + empty));
}

TEST(DeleteDirectoryTree, MissingDirectoryReportsFindFailed) {
  TempDir dir;
  const std::wstring missing = dir.Child(L"missing");
  EventCapture events;
  LogCapture log;
  EXPECT_FALSE(DeleteDirectoryTree(missing));
  const auto reported = events.Events();
  ASSERT_EQ(reported.size(), 2u);
  EXPECT_EQ(reported[1].name, "uninstall_delete_dir_fail");
  EXPECT_EQ(reported[1].params, (Params{{"dir_path", WideToUtf8(missing)}, {"error", "find_failed"}}));
  EXPECT_TRUE(log.Has(L"Failed to find files in directory: " + missing));
  EXPECT_FALSE(log.HasFragment(L"remove directory"));
}

// Paths go into events as UTF-8; the Chinese folder name proves the conversion.
TEST(DeleteDirectoryTree, NestedTreeIsRemovedWithEventsPerEntryAndTheExtraRemovalLine) {
  TempDir dir;
  const std::wstring root = dir.MakeDir(L"root");
  const std::wstring sub = root + L"\\数据";
  const std::wstring inner = dir.WriteFile(L"root\\数据\\inner.txt");
  EventCapture events;
  LogCapture log;
  EXPECT_TRUE(DeleteDirectoryTree(root));
  EXPECT_FALSE(Exists(root));

  const long subDone = log.IndexOf(L"Successfully deleted directory: " + sub);
  ASSERT_GE(subDone, 0);
  EXPECT_GT(log.IndexOf(L"Failed to remove directory: " + sub + L", error: 2", static_cast<size_t>(subDone)), subDone);
  EXPECT_TRUE(log.Has(L"Successfully deleted file: " + inner));

  const std::vector<EventReporter::PendingEvent> expected = {
      {"uninstall_delete_dir_start", {{"dir_path", WideToUtf8(root)}}},
      {"uninstall_delete_dir_start", {{"dir_path", WideToUtf8(sub)}}},
      {"uninstall_delete_file_start", {{"file_path", WideToUtf8(inner)}}},
      {"uninstall_delete_file_done", {{"file_path", WideToUtf8(inner)}}},
      {"uninstall_delete_dir_done", {{"dir_path", WideToUtf8(sub)}}},
      {"uninstall_delete_dir_done", {{"dir_path", WideToUtf8(root)}}},
  };
  const auto reported = events.Events();
  ASSERT_EQ(reported.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(reported[i].name, expected[i].name) << i;
    EXPECT_EQ(reported[i].params, expected[i].params) << i;
  }
}

// A file nobody can touch stays; the directory then cannot go (145, no line
// of its own) and is left to the reboot, which still counts as success.
TEST(DeleteDirectoryTree, LockedFileLeavesDirectoryScheduledForReboot) {
  TempDir dir;
  const std::wstring root = dir.MakeDir(L"root");
  const std::wstring locked = dir.WriteFile(L"root\\locked.dat");
  test::ChildProcess holder = test::ChildProcess::HoldFile(locked);
  ASSERT_TRUE(holder.Running());
  EventCapture events;
  LogCapture log;
  EXPECT_TRUE(DeleteDirectoryTree(root));
  EXPECT_TRUE(log.Has(L"File in use, moving to temp and scheduling for deletion: " + locked));
  EXPECT_TRUE(log.Has(L"Scheduled original file deletion on reboot: " + locked));
  EXPECT_FALSE(log.HasFragment(L"Failed to remove directory: " + root));
  EXPECT_TRUE(log.Has(L"Scheduled directory deletion on reboot: " + root));
  EXPECT_TRUE(Exists(locked));
  const auto reported = events.Events();
  ASSERT_FALSE(reported.empty());
  EXPECT_EQ(reported[reported.size() - 2].name, "uninstall_delete_file_done");
  EXPECT_EQ(reported.back().name, "uninstall_delete_dir_done");
  EXPECT_EQ(reported.back().params, (Params{{"dir_path", WideToUtf8(root)}, {"scheduled_reboot", "true"}}));
}

}  // namespace
}  // namespace oru
