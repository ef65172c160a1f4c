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

TEST(CheckInstallDirMinimalState, EveryDeviationEndsTheCheckWithItsReason) {
  const struct {
    std::vector<std::wstring> layout;
    std::wstring reason;
  } cases[] = {
      {{L"uninstall\\", L"1.0\\Installer\\setup.exe", L"stray.txt"},
       L"Found file in root directory, terminating check early: stray.txt"},
      {{L"Uninstall\\", L"1.0\\Installer\\setup.exe"}, L"Uninstall folder not found"},
      {{L"uninstall\\"}, L"Expected exactly 2 folders, but found 1 folders"},
      {{L"uninstall\\", L"1.0\\Installer\\setup.exe", L"2.0\\"}, L"Found more than 2 folders, terminating check early"},
      {{L"uninstall\\", L"1.0\\Installer\\"}, L"Expected exactly 1 item in Installer folder, but found 0 items"},
      {{L"uninstall\\", L"1.0\\Setup\\setup.exe"}, L"Found unexpected folder in 1.0: Setup"},
      {{L"uninstall\\", L"1.0\\Installer\\old_setup.exe"}, L"Found unexpected file in Installer folder: old_setup.exe"},
      {{L"uninstall\\", L"1.0\\Installer\\setup.exe\\"}, L"Found unexpected folder in Installer folder: setup.exe"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(WideToUtf8(c.reason));
    TempDir dir;
    Build(dir, c.layout);
    LogCapture log;
    EXPECT_FALSE(CheckInstallDirMinimalState({dir.path(), L"1.0"}));
    EXPECT_EQ(log.Lines().back(), c.reason);
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
