#include "remove/directory_tree.h"

#include <gtest/gtest.h>

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

// Paths go into events as UTF-8; the Chinese folder name proves the
// conversion. The subfolder, already gone, still gets a failed removal line.
// A read-only file refuses deletion with 5, which counts as in use: it is
// moved away and counts as done.
TEST(DeleteDirectoryTree, NestedTreeIsRemovedWithEventsPerEntryThenCannotBeFound) {
  TempDir dir;
  const std::wstring root = dir.MakeDir(L"root");
  const std::wstring sub = root + L"\\数据";
  const std::wstring inner = dir.WriteFile(L"root\\数据\\inner.txt");
  ::SetFileAttributesW(inner.c_str(), FILE_ATTRIBUTE_READONLY);
  EventCapture events;
  LogCapture log;
  EXPECT_TRUE(DeleteDirectoryTree(root));
  EXPECT_FALSE(Exists(root));
  EXPECT_TRUE(log.Has(L"File in use, moving to temp and scheduling for deletion: " + inner));
  EXPECT_TRUE(log.Has(L"Failed to remove directory: " + sub + L", error: 2"));

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

  EventCapture again;
  EXPECT_FALSE(DeleteDirectoryTree(root));
  EXPECT_EQ(again.Names(), (std::vector<std::string>{"uninstall_delete_dir_start", "uninstall_delete_dir_fail"}));
  EXPECT_EQ(again.Events().back().params, (Params{{"dir_path", WideToUtf8(root)}, {"error", "find_failed"}}));
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
  EXPECT_FALSE(log.HasFragment(L"Failed to remove directory: " + root));
  const auto reported = events.Events();
  ASSERT_GE(reported.size(), 2u);
  EXPECT_EQ(reported[reported.size() - 2].name, "uninstall_delete_file_done");
  EXPECT_EQ(reported.back().name, "uninstall_delete_dir_done");
  EXPECT_EQ(reported.back().params, (Params{{"dir_path", WideToUtf8(root)}, {"scheduled_reboot", "true"}}));
}

}  // namespace
}  // namespace oru
