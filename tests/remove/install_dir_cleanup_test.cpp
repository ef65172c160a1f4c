#include "remove/install_dir_cleanup.h"

#include <gtest/gtest.h>

#include "common/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::Exists;
using test::LogCapture;
using test::TempDir;

// A layout is a list of relative paths; a trailing backslash makes a folder.
void Build(const TempDir& dir, const std::vector<std::wstring>& layout) {
  for (const auto& entry : layout) {
    if (entry.ends_with(L"\\")) {
      dir.MakeDir(entry.substr(0, entry.size() - 1));
    } else {
      dir.WriteFile(entry);
    }
  }
}

TEST(CleanupInstallationDirectory, RemovesOnlyTheMinimalStateAndKeepsUninstall) {
  TempDir other;
  Build(other, {L"uninstall\\oru_uninstall.exe", L"1.0\\Installer\\setup.exe", L"notes.txt"});
  CleanupInstallationDirectory({other.path(), L"1.0"});
  EXPECT_TRUE(Exists(other.Child(L"1.0\\Installer\\setup.exe")));

  TempDir dir;
  Build(dir, {L"uninstall\\oru_uninstall.exe", L"1.0\\Installer\\setup.exe"});
  const std::wstring version = dir.Child(L"1.0");
  CleanupInstallationDirectory({dir.path(), L"1.0"});
  EXPECT_FALSE(Exists(version));
  EXPECT_TRUE(Exists(dir.Child(L"uninstall\\oru_uninstall.exe")));
}

TEST(DeleteEmptyParentDirectory, ClimbsUntilTheFirstFolderThatHoldsSomething) {
  TempDir dir;
  dir.MakeDir(L"a\\b\\c");
  dir.WriteFile(L"a\\keep.txt");
  LogCapture log;
  DeleteEmptyParentDirectory(dir.Child(L"a\\b\\c\\deleted.txt"));
  EXPECT_FALSE(Exists(dir.Child(L"a\\b")));
  EXPECT_TRUE(Exists(dir.Child(L"a\\keep.txt")));
  EXPECT_EQ(log.Lines().back(), L"Parent directory is not empty, skipping deletion: " + dir.Child(L"a"));
  // A bare file name has no folder to climb from.
  DeleteEmptyParentDirectory(L"setup.exe");
  EXPECT_EQ(log.Lines().back(), L"No parent directory found for file: setup.exe");
}

}  // namespace
}  // namespace oru
