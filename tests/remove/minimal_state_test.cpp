#include "remove/minimal_state.h"

#include <gtest/gtest.h>

#include "common/strings.h"

namespace oru::test {
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

using Judge = LevelVerdict (*)(const std::vector<ListedEntry>&);
const Judge kRoot = JudgeInstallationLevel, kInstaller = JudgeInstallerLevel;
const Judge kVersion = [](const std::vector<ListedEntry>& entries) { return JudgeVersionLevel(L"1.0", entries); };

TEST(MinimalState, EveryDeviationFailsItsLevelWithItsReason) {
  const struct {
    Judge judge;
    std::vector<ListedEntry> entries;
    std::wstring reason;
  } cases[] = {
      {kRoot, Level({L"uninstall\\", L"1.0\\", L"stray.txt"}),
       L"Found file in root directory, terminating check early: stray.txt"},
      {kRoot, Level({L"Uninstall\\", L"1.0\\"}), L"Uninstall folder not found"},
      {kRoot, Level({L"uninstall\\"}), L"Expected exactly 2 folders, but found 1 folders"},
      {kRoot, Level({L"uninstall\\", L"1.0\\", L"2.0\\"}), L"Found more than 2 folders, terminating check early"},
      {kRoot, Level({L"uninstall@", L"1.0\\"}), L"Found link in root directory, terminating check early: uninstall"},
      {kRoot, Level({L"uninstall\\", L"1.0@"}), L"Found link in root directory, terminating check early: 1.0"},
      {kVersion, Level({L"Setup\\"}), L"Found unexpected folder in 1.0: Setup"},
      {kVersion, Level({L"Installer\\", L"debug.log"}), L"Found more than 1 item in 1.0, terminating check early"},
      {kVersion, Level({L"debug.log"}), L"Found file in 1.0: debug.log"},
      {kVersion, Level({}), L"Expected exactly 1 item in 1.0, but found 0 items"},
      {kVersion, Level({L"Installer@"}), L"Found link in 1.0, terminating check early: Installer"},
      {kInstaller, Level({}), L"Expected exactly 1 item in Installer folder, but found 0 items"},
      {kInstaller, Level({L"old_setup.exe"}), L"Found unexpected file in Installer folder: old_setup.exe"},
      {kInstaller, Level({L"setup.exe\\"}), L"Found unexpected folder in Installer folder: setup.exe"},
      {kInstaller, Level({L"Setup.exe"}), L"Found unexpected file in Installer folder: Setup.exe"},
      {kInstaller, Level({L"setup.exe", L"a"}), L"Found more than 1 item in Installer folder, terminating check early"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(WideToUtf8(c.reason));
    const LevelVerdict verdict = c.judge(c.entries);
    EXPECT_FALSE(verdict.met);
    ASSERT_FALSE(verdict.lines.empty());
    EXPECT_EQ(verdict.lines.back(), c.reason);
  }
}

}  // namespace
}  // namespace oru::test
