#include "remove/minimal_state.h"

#include <gtest/gtest.h>

#include "common/strings.h"

namespace oru {
namespace {

// "name\" is a folder, "name@" a link, anything else a file.
std::vector<ListedEntry> Level(std::initializer_list<std::wstring> names) {
  std::vector<ListedEntry> entries;
  for (std::wstring name : names) {
    const bool link = name.ends_with(L"@");
    const bool directory = name.ends_with(L"\\") || link;
    if (directory) name.pop_back();
    entries.push_back({name, directory, link});
  }
  return entries;
}

enum class At { kRoot, kVersion, kInstaller };

LevelVerdict Judge(At level, const std::vector<ListedEntry>& entries) {
  switch (level) {
    case At::kRoot:
      return JudgeInstallationLevel(entries);
    case At::kVersion:
      return JudgeVersionLevel(L"1.0", entries);
    default:
      return JudgeInstallerLevel(entries);
  }
}

TEST(MinimalState, EveryDeviationFailsItsLevelWithItsReason) {
  const struct {
    At level;
    std::vector<ListedEntry> entries;
    std::wstring reason;
  } cases[] = {
      {At::kRoot, Level({L"uninstall\\", L"1.0\\", L"stray.txt"}),
       L"Found file in root directory, terminating check early: stray.txt"},
      {At::kRoot, Level({L"Uninstall\\", L"1.0\\"}), L"Uninstall folder not found"},
      {At::kRoot, Level({L"uninstall\\"}), L"Expected exactly 2 folders, but found 1 folders"},
      {At::kRoot, Level({L"uninstall\\", L"1.0\\", L"2.0\\"}), L"Found more than 2 folders, terminating check early"},
      {At::kRoot, Level({L"uninstall@", L"1.0\\"}),
       L"Found link in root directory, terminating check early: uninstall"},
      {At::kRoot, Level({L"uninstall\\", L"1.0@"}), L"Found link in root directory, terminating check early: 1.0"},
      {At::kVersion, Level({L"Setup\\"}), L"Found unexpected folder in 1.0: Setup"},
      {At::kVersion, Level({L"Installer\\", L"debug.log"}), L"Found more than 1 item in 1.0, terminating check early"},
      {At::kVersion, Level({L"debug.log"}), L"Found file in 1.0: debug.log"},
      {At::kVersion, Level({}), L"Expected exactly 1 item in 1.0, but found 0 items"},
      {At::kVersion, Level({L"Installer@"}), L"Found link in 1.0, terminating check early: Installer"},
      {At::kInstaller, Level({}), L"Expected exactly 1 item in Installer folder, but found 0 items"},
      {At::kInstaller, Level({L"old_setup.exe"}), L"Found unexpected file in Installer folder: old_setup.exe"},
      {At::kInstaller, Level({L"setup.exe\\"}), L"Found unexpected folder in Installer folder: setup.exe"},
      {At::kInstaller, Level({L"Setup.exe"}), L"Found unexpected file in Installer folder: Setup.exe"},
      {At::kInstaller, Level({L"setup.exe", L"a"}),
       L"Found more than 1 item in Installer folder, terminating check early"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(WideToUtf8(c.reason));
    const LevelVerdict verdict = Judge(c.level, c.entries);
    EXPECT_FALSE(verdict.met);
    ASSERT_FALSE(verdict.lines.empty());
    EXPECT_EQ(verdict.lines.back(), c.reason);
  }
}

TEST(MinimalState, TheStateSetupLeavesPassesEveryLevel) {
  const LevelVerdict root = JudgeInstallationLevel(Level({L"1.0\\", L"uninstall\\"}));
  EXPECT_TRUE(root.met);
  EXPECT_EQ(root.other, L"1.0");
  EXPECT_EQ(root.lines, (std::vector<std::wstring>{
                            L"Found other folder: 1.0", L"Found uninstall folder: uninstall", L"Total folders found: 2",
                            L"Total files found: 0 (any files would have caused early termination)"}));
  EXPECT_TRUE(JudgeVersionLevel(L"1.0", Level({L"Installer\\"})).met);
  EXPECT_TRUE(JudgeInstallerLevel(Level({L"setup.exe"})).met);
}

}  // namespace
}  // namespace oru
