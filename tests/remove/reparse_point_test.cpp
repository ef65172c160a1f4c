// Runs on a tree the test fixture prepared on the host side, because Wine
// cannot create a link itself: tree\link is a host symbolic link to target,
// which holds sentinel.txt. Wine shows the link as a directory that is also a
// reparse point.

#include <gtest/gtest.h>
#include <windows.h>

#include "remove/directory_tree.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru {
namespace {

TEST(DeleteDirectoryTree, LinkIsRemovedWithoutTouchingItsTarget) {
  const std::wstring fixture = test::BinFile(L"reparse_fixture");
  const std::wstring tree = fixture + L"\\tree";
  const std::wstring link = tree + L"\\link";
  const std::wstring sentinel = fixture + L"\\target\\sentinel.txt";
  const DWORD attributes = ::GetFileAttributesW(link.c_str());
  ASSERT_NE(attributes, INVALID_FILE_ATTRIBUTES) << "fixture missing";
  ASSERT_EQ(attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT),
            static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT));
  ASSERT_TRUE(test::Exists(link + L"\\sentinel.txt"));

  test::LogCapture log;
  const bool result = DeleteDirectoryTree(tree);
  EXPECT_TRUE(test::Exists(sentinel));
  EXPECT_FALSE(log.HasFragment(L"sentinel.txt"));
  EXPECT_FALSE(log.HasFragment(L"Recursively deleting directory: " + link));
  // Windows removes the link itself; Wine 8's RemoveDirectoryW follows it and
  // finds the target not empty (145). Either way the walk stays out of it.
  if (test::Exists(link)) {
    EXPECT_FALSE(result);
    EXPECT_TRUE(log.Has(L"Failed to remove link, its target is left alone: " + link + L", error: 145"));
  } else {
    EXPECT_TRUE(result);
    EXPECT_TRUE(log.Has(L"Removed link without following it: " + link));
  }
}

}  // namespace
}  // namespace oru
