#include "remove/minimal_state.h"
#include "remove/install_dir_cleanup.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru::test {
namespace {

using Judge = LevelVerdict (*)(const std::vector<ListedEntry>&);
const Judge kRoot = JudgeInstallationLevel, kInstaller = JudgeInstallerLevel;
const Judge kVersion = [](const std::vector<ListedEntry>& entries) { return JudgeVersionLevel(L"1.0", entries); };

// A level listed as names: "name\" a folder, "name@" a link, anything else a file.
TEST(MinimalState, EveryDeviationFailsItsLevelWithItsReason) {
  const auto fails = [](Judge judge, std::initializer_list<std::wstring> names, const std::wstring& reason) {
    std::vector<ListedEntry> entries;
    for (std::wstring name : names) {
      const bool link = name.ends_with(L"@"), directory = link || name.ends_with(L"\\");
      if (directory) name.pop_back();
      entries.push_back({name, directory, link});
    }
    const LevelVerdict verdict = judge(entries);
    EXPECT_FALSE(verdict.met) << WideToUtf8(reason);
    EXPECT_EQ(verdict.lines.empty() ? L"" : verdict.lines.back(), reason);
  };
  fails(kRoot, {L"uninstall\\", L"1.0\\", L"stray.txt"},
        L"Found file in root directory, terminating check early: stray.txt");
  fails(kRoot, {L"Uninstall\\", L"1.0\\"}, L"Uninstall folder not found");
  fails(kRoot, {L"uninstall\\"}, L"Expected exactly 2 folders, but found 1 folders");
  fails(kRoot, {L"uninstall\\", L"1.0\\", L"2.0\\"}, L"Found more than 2 folders, terminating check early");
  fails(kRoot, {L"uninstall@", L"1.0\\"}, L"Found link in root directory, terminating check early: uninstall");
  fails(kRoot, {L"uninstall\\", L"1.0@"}, L"Found link in root directory, terminating check early: 1.0");
  fails(kVersion, {L"Setup\\"}, L"Found unexpected folder in 1.0: Setup");
  fails(kVersion, {L"Installer\\", L"debug.log"}, L"Found more than 1 item in 1.0, terminating check early");
  fails(kVersion, {L"debug.log"}, L"Found file in 1.0: debug.log");
  fails(kVersion, {}, L"Expected exactly 1 item in 1.0, but found 0 items");
  fails(kVersion, {L"Installer@"}, L"Found link in 1.0, terminating check early: Installer");
  fails(kInstaller, {}, L"Expected exactly 1 item in Installer folder, but found 0 items");
  fails(kInstaller, {L"old_setup.exe"}, L"Found unexpected file in Installer folder: old_setup.exe");
  fails(kInstaller, {L"setup.exe\\"}, L"Found unexpected folder in Installer folder: setup.exe");
  fails(kInstaller, {L"Setup.exe"}, L"Found unexpected file in Installer folder: Setup.exe");
  fails(kInstaller, {L"setup.exe", L"a"}, L"Found more than 1 item in Installer folder, terminating check early");
}

// The clean-up of a minimal installation, in the order its lines are
// logged; then a listing that will not start or breaks off at each level,
// and each removal that fails, ending it where it stands.
TEST(CleanupInstallationDirectory, LogsEachStepAndStopsAtTheFirstThatFails) {
  TempDir dir;
  const std::wstring install = dir.Child(L"Oru"), version = install + L"\\1.0", installer = version + L"\\Installer",
                     setup = installer + L"\\setup.exe";
  const std::wstring skipped = L"Installation directory contains other files, skipping cleanup";
  const std::wstring check = L"Checking installation directory status to determine if cleanup is needed";
  const Fault noMove{L"MoveFileW", ERROR_FILE_NOT_FOUND}, noReboot{L"MoveFileExW", ERROR_ACCESS_DENIED};
  const auto row = [&](const std::vector<Fault>& faults, const std::vector<std::wstring>& lines) {
    RemoveTree(install);
    dir.MakeDir(L"Oru\\uninstall");
    WriteFileAt(setup);
    EXPECT_TRUE(LinesInOrder(LinesUnder(faults, [&] { CleanupInstallationDirectory({install, L"1.0"}); }), lines));
  };
  row({}, {check, L"Total folders found: 2", L"Total files found: 0 (any files would have caused early termination)",
           L"Found Installer folder in 1.0", L"Found setup.exe in Installer folder", L"All conditions met:",
           L"  - Installation directory has exactly 2 folders: uninstall and 1.0",
           L"  - 1.0 folder contains only Installer folder", L"  - Installer folder contains only setup.exe",
           L"Installation directory is in minimal state, safe to cleanup",
           L"Installation directory only contains uninstall folder and setup.exe, proceeding with cleanup",
           L"Attempting to delete setup.exe: " + setup, L"Successfully deleted setup.exe: " + setup,
           L"Attempting to delete version directory: " + version, L"Successfully deleted version directory: " + version,
           L"Failed to remove version directory: " + version + L", error: 2",
           L"Scheduled version directory for deletion on reboot: " + version});
  row({{L"FindFirstFileW", 5, 1}}, {check, L"Failed to find files in installation directory: " + install, skipped});
  row({{L"FindFirstFileW", 5, 2}}, {L"Failed to find files in other folder: " + version, skipped});
  row({{L"FindFirstFileW", 5, 3}}, {L"Failed to find files in Installer folder: " + installer, skipped});
  row({{L"FindNextFileW", ERROR_NETNAME_DELETED, 1}},
      {L"Failed to find files in installation directory: " + install, skipped});
  row({{L"DeleteFileW", 5, 0, L"setup.exe"}, noMove, noReboot},
      {L"Failed to delete setup.exe: " + setup + L", error: 5",
       L"Failed to move setup.exe to temp directory, trying multi-process deletion",
       L"All deletion methods failed for setup.exe: " + setup,
       L"Skipping version directory deletion because setup.exe deletion failed"});
  row({{L"RemoveDirectoryW", 5, 0, L"Installer"}, noReboot},
      {L"Failed to delete version directory contents: " + version});
  row({noReboot}, {L"Failed to schedule version directory for deletion: " + version});
}

}  // namespace
}  // namespace oru::test
