#include "remove/directory_tree.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/strings.h"
#include "support/directory_link.h"
#include "support/event_capture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru::test {
namespace {

// The Chinese folder name proves the events' UTF-8. The subfolder, already
// gone, still gets its failed removal line; a read-only file goes at once.
TEST(DeleteDirectoryTree, NestedTreeIsRemovedWithEventsPerEntryThenCannotBeFound) {
  TempDir dir;
  const std::wstring root = dir.MakeDir(L"root"), sub = root + L"\\数据";
  const std::wstring inner = dir.WriteFile(L"root\\数据\\inner.txt");
  ::SetFileAttributesW(inner.c_str(), FILE_ATTRIBUTE_READONLY);
  EventCapture events;
  LogCapture log;
  EXPECT_TRUE(DeleteDirectoryTree(root));
  EXPECT_FALSE(Exists(root));
  EXPECT_TRUE(log.Has(L"Successfully deleted file: " + inner));
  EXPECT_TRUE(log.Has(L"Failed to remove directory: " + sub + L", error: 2"));

  const std::string utf8Root = WideToUtf8(root), utf8Sub = WideToUtf8(sub), utf8Inner = WideToUtf8(inner);
  EXPECT_EQ(
      events.Events(),
      (std::vector<std::string>{
          "uninstall_delete_dir_start dir_path=" + utf8Root, "uninstall_delete_dir_start dir_path=" + utf8Sub,
          "uninstall_delete_file_start file_path=" + utf8Inner, "uninstall_delete_file_done file_path=" + utf8Inner,
          "uninstall_delete_dir_done dir_path=" + utf8Sub, "uninstall_delete_dir_done dir_path=" + utf8Root}));

  EventCapture again;
  EXPECT_FALSE(DeleteDirectoryTree(root));
  EXPECT_EQ(again.Events(),
            (std::vector<std::string>{"uninstall_delete_dir_start dir_path=" + utf8Root,
                                      "uninstall_delete_dir_fail dir_path=" + utf8Root + " error=find_failed"}));
}

// A file that stays, for what its deletion answered and what became of its
// fallbacks, and the folder then left to the reboot or refused that too.
TEST(DeleteDirectoryTree, EveryEntryThatStaysIsReportedWithItsReason) {
  TempDir dir;
  const std::wstring root = dir.Child(L"root"), file = root + L"\\stays.dat";
  const std::string dirPath = "dir_path=" + WideToUtf8(root), filePath = "file_path=" + WideToUtf8(file);
  const Fault inUse{L"DeleteFileW", ERROR_SHARING_VIOLATION, 0, L"stays"}, noMove{L"MoveFileW", ERROR_FILE_NOT_FOUND},
      noReboot{L"MoveFileExW", ERROR_ACCESS_DENIED};
  const auto row = [&](const std::vector<Fault>& faults, bool result, const std::wstring& line,
                       const std::string& fileEvent, const std::string& dirEvent) {
    dir.WriteFile(L"root\\stays.dat");
    EventCapture events;
    EXPECT_TRUE(LinesInOrder(LinesUnder(faults, [&] { EXPECT_EQ(DeleteDirectoryTree(root), result); }), {line}));
    EXPECT_EQ(events.Events(), (std::vector<std::string>{"uninstall_delete_dir_start " + dirPath,
                                                         "uninstall_delete_file_start " + filePath, fileEvent,
                                                         "uninstall_delete_dir_" + dirEvent}));
  };
  // In use: left to the reboot, which counts as gone.
  row({inUse, noMove}, true, L"Scheduled original file deletion on reboot: " + file,
      "uninstall_delete_file_done " + filePath, "done " + dirPath + " scheduled_reboot=true");
  row({inUse, noMove, noReboot}, false, L"Failed to schedule directory deletion on reboot: " + root,
      "uninstall_delete_file_fail error_code=32 " + filePath, "fail " + dirPath + " error=schedule_failed");
  row({{L"DeleteFileW", ERROR_WRITE_PROTECT, 0, L"stays"}, noReboot}, false,
      L"Failed to delete file: " + file + L", error: 19", "uninstall_delete_file_fail error_code=19 " + filePath,
      "fail " + dirPath + " error=schedule_failed");
}

TEST(DeleteDirectoryTree, LinkIsRemovedWithoutTouchingItsTarget) {
  TempDir dir;
  const std::wstring sentinel = dir.WriteFile(L"target\\sentinel.txt", "keep");
  const std::wstring tree = dir.MakeDir(L"tree"), link = tree + L"\\link";
  DirectoryLink made(link, dir.Child(L"target"));
  if (!made.Made()) GTEST_SKIP() << "directory links can only be made under Wine here";

  LogCapture log;
  const bool result = DeleteDirectoryTree(tree);
  EXPECT_TRUE(Exists(sentinel));
  EXPECT_FALSE(log.HasFragment(L"sentinel.txt"));
  EXPECT_FALSE(log.HasFragment(L"Recursively deleting directory: " + link));
  // Windows removes the link itself; Wine 8's RemoveDirectoryW follows it and
  // finds the target not empty (145). Either way the walk stays out of it.
  if (Exists(link)) {
    EXPECT_FALSE(result);
    EXPECT_TRUE(log.Has(L"Failed to remove link, its target is left alone: " + link + L", error: 145"));
  } else {
    EXPECT_TRUE(result);
    EXPECT_TRUE(log.Has(L"Removed link without following it: " + link));
  }

  // A link passed in as the tree itself is not walked either.
  const std::wstring root = dir.Child(L"root");
  DirectoryLink rootLink(root, dir.Child(L"target"));
  ASSERT_TRUE(rootLink.Made());
  (void)DeleteDirectoryTree(root);
  EXPECT_TRUE(Exists(sentinel));
  EXPECT_FALSE(log.HasFragment(L"Recursively deleting directory: " + root));
}

// A file link, as Windows lists one (Wine shows none): deleted as the file
// it is, which removes the link, and never taken for a folder link.
TEST(DeleteDirectoryTree, AFileLinkIsDeletedAsAFile) {
  TempDir dir;
  const std::wstring link = dir.WriteFile(L"file link");
  EXPECT_TRUE(DeleteEntryUnreported(dir.path(), {L"file link", FILE_ATTRIBUTE_REPARSE_POINT}));
  EXPECT_FALSE(Exists(link));
}

}  // namespace
}  // namespace oru::test
