#include "remove/install_dir_cleanup.h"

#include <gtest/gtest.h>

#include <algorithm>

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

struct Layout {
  const char* name;
  std::vector<std::wstring> entries;
  std::vector<std::wstring> acceptedReasons;
};

TEST(CheckInstallDirMinimalState, EveryDeviationEndsTheCheckWithItsReason) {
  const std::vector<Layout> layouts = {
      {"stray file",
       {L"uninstall\\", L"1.0\\Installer\\setup.exe", L"stray.txt"},
       {L"Found file in root directory, terminating check early: stray.txt"}},
      {"capital U", {L"Uninstall\\", L"1.0\\Installer\\setup.exe"}, {L"Uninstall folder not found"}},
      {"lone uninstall folder", {L"uninstall\\"}, {L"Expected exactly 2 folders, but found 1 folders"}},
      {"third folder",
       {L"uninstall\\", L"1.0\\Installer\\setup.exe", L"2.0\\"},
       {L"Found more than 2 folders, terminating check early"}},
      {"empty Installer",
       {L"uninstall\\", L"1.0\\Installer\\"},
       {L"Expected exactly 1 item in Installer folder, but found 0 items"}},
      {"log beside Installer",
       {L"uninstall\\", L"1.0\\Installer\\setup.exe", L"1.0\\setup.log"},
       {L"Found more than 1 item in 1.0, terminating check early", L"Found file in 1.0: setup.log"}},
      {"other folder in version",
       {L"uninstall\\", L"1.0\\Setup\\setup.exe"},
       {L"Found unexpected folder in 1.0: Setup"}},
      {"other installer file",
       {L"uninstall\\", L"1.0\\Installer\\old_setup.exe"},
       {L"Found unexpected file in Installer folder: old_setup.exe"}},
      {"setup.exe is a folder",
       {L"uninstall\\", L"1.0\\Installer\\setup.exe\\"},
       {L"Found unexpected folder in Installer folder: setup.exe"}},
      {"second installer file",
       {L"uninstall\\", L"1.0\\Installer\\setup.exe", L"1.0\\Installer\\x.dll"},
       {L"Found more than 1 item in Installer folder, terminating check early",
        L"Found unexpected file in Installer folder: x.dll"}},
  };
  for (const auto& layout : layouts) {
    SCOPED_TRACE(layout.name);
    TempDir dir;
    Build(dir, layout.entries);
    LogCapture log;
    EXPECT_FALSE(CheckInstallDirMinimalState({dir.path(), L"1.0"}));
    const std::wstring last = log.Lines().back();
    EXPECT_NE(std::find(layout.acceptedReasons.begin(), layout.acceptedReasons.end(), last),
              layout.acceptedReasons.end())
        << WideToUtf8(last);
    EXPECT_FALSE(log.HasFragment(L"All conditions met"));
  }
}

TEST(CheckInstallDirMinimalState, EmptyOrMissingPathFails) {
  TempDir dir;
  LogCapture log;
  EXPECT_FALSE(CheckInstallDirMinimalState({L"", L"1.0"}));
  EXPECT_TRUE(log.Has(L"Installation path is empty, cannot check directory status"));
  EXPECT_FALSE(CheckInstallDirMinimalState({dir.Child(L"gone"), L"1.0"}));
  EXPECT_TRUE(log.Has(L"Failed to find files in installation directory: " + dir.Child(L"gone")));
}

TEST(CleanupInstallationDirectory, LeavesAnythingButTheMinimalStateAlone) {
  TempDir dir;
  Build(dir, {L"uninstall\\oru_uninstall.exe", L"1.0\\Installer\\setup.exe", L"notes.txt"});
  LogCapture log;
  CleanupInstallationDirectory({dir.path(), L"1.0"});
  EXPECT_EQ(log.Lines().back(), L"Installation directory contains other files, skipping cleanup");
  EXPECT_TRUE(Exists(dir.Child(L"1.0\\Installer\\setup.exe")));
}

TEST(CleanupInstallationDirectory, RemovesSetupAndVersionFolderButKeepsUninstall) {
  TempDir dir;
  Build(dir, {L"uninstall\\oru_uninstall.exe", L"1.0\\Installer\\setup.exe"});
  const std::wstring version = dir.Child(L"1.0");
  const std::wstring setup = dir.Child(L"1.0\\Installer\\setup.exe");
  LogCapture log;
  CleanupInstallationDirectory({dir.path(), L"1.0"});
  EXPECT_FALSE(Exists(version));
  EXPECT_TRUE(Exists(dir.Child(L"uninstall\\oru_uninstall.exe")));

  // The two folders come in the file system's order; everything after in this one.
  EXPECT_TRUE(log.Has(L"Found uninstall folder: uninstall"));
  EXPECT_TRUE(log.Has(L"Found other folder: 1.0"));
  const std::vector<std::wstring> expectedInOrder = {
      L"Total folders found: 2",
      L"Total files found: 0 (any files would have caused early termination)",
      L"Found Installer folder in 1.0",
      L"Found setup.exe in Installer folder",
      L"All conditions met:",
      L"  - Installation directory has exactly 2 folders: uninstall and 1.0",
      L"  - 1.0 folder contains only Installer folder",
      L"  - Installer folder contains only setup.exe",
      L"Installation directory is in minimal state, safe to cleanup",
      L"Installation directory only contains uninstall folder and setup.exe, proceeding with cleanup",
      L"Attempting to delete setup.exe: " + setup,
      L"Successfully deleted setup.exe: " + setup,
      L"Attempting to delete version directory: " + version,
      L"Successfully deleted version directory: " + version,
      L"Failed to remove version directory: " + version + L", error: 2",
      L"Scheduled version directory for deletion on reboot: " + version,
  };
  long at = 0;
  for (const auto& line : expectedInOrder) {
    const long found = log.IndexOf(line, static_cast<size_t>(at));
    EXPECT_GE(found, at) << WideToUtf8(line);
    if (found >= 0) at = found;
  }
}

TEST(DeleteEmptyParentDirectory, ClimbsUntilTheFirstFolderThatHoldsSomething) {
  TempDir dir;
  dir.MakeDir(L"a\\b\\c");
  dir.WriteFile(L"a\\keep.txt");
  const std::wstring a = dir.Child(L"a");
  LogCapture log;
  DeleteEmptyParentDirectory(dir.Child(L"a\\b\\c\\deleted.txt"));
  EXPECT_FALSE(Exists(dir.Child(L"a\\b")));
  EXPECT_TRUE(Exists(dir.Child(L"a\\keep.txt")));
  EXPECT_TRUE(log.Has(L"Successfully deleted empty parent directory: " + dir.Child(L"a\\b\\c")));
  EXPECT_TRUE(log.Has(L"Successfully deleted empty parent directory: " + dir.Child(L"a\\b")));
  EXPECT_TRUE(log.Has(L"Parent directory is not empty, found: keep.txt"));
  EXPECT_EQ(log.Lines().back(), L"Parent directory is not empty, skipping deletion: " + a);
}

TEST(DeleteEmptyParentDirectory, PathWithoutFolderStopsAtOnce) {
  LogCapture log;
  DeleteEmptyParentDirectory(L"setup.exe");
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"Attempting to delete parent directory of: setup.exe",
                                                    L"No parent directory found for file: setup.exe"}));
}

}  // namespace
}  // namespace oru
