#include "app/options.h"

#include <windows.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include <random>

namespace oru {
namespace {

struct Flags {
  bool force, silent_chrome, keep_user_data, silent_oru;
  bool operator==(const Flags&) const = default;
};

Flags Parse(std::vector<std::wstring> args) {
  const UninstallOptions o = ParseOptions(args);
  return {o.force, o.silent_chrome, o.keep_user_data, o.silent_oru};
}

TEST(Options, EachOptionSetsItsFlagAndNothingElse) {
  EXPECT_EQ(Parse({}), (Flags{false, true, false, false}));
  EXPECT_EQ(Parse({L"--force"}), (Flags{true, true, false, false}));
  EXPECT_EQ(Parse({L"--unsilent-chrome"}), (Flags{false, false, false, false}));
  EXPECT_EQ(Parse({L"--keep-user-data"}), (Flags{false, true, true, false}));
  EXPECT_EQ(Parse({L"--silent-oru"}), (Flags{false, true, false, true}));
  EXPECT_EQ(Parse({L"--silent-oru", L"--force", L"--keep-user-data", L"--unsilent-chrome"}),
            (Flags{true, false, true, true}));
}

TEST(Options, MatchingIsExactCaseSensitiveAndRepetitionIsHarmless) {
  EXPECT_EQ(Parse({L"--FORCE", L"--force=1", L"-force", L"force", L" --force", L"--Keep-User-Data", L""}),
            (Flags{false, true, false, false}));
  EXPECT_EQ(Parse({L"--force", L"--force", L"unknown", L"--force"}), (Flags{true, true, false, false}));
}

// Random command lines as a user or a broken shortcut might produce them:
// unknown switches, empty and very long arguments, quotes, the options in any
// case and repetition. Parsing never fails, and an option counts exactly when
// one whole argument equals it.
TEST(Options, RandomCommandLinesParseToExactlyTheOptionsTheyHold) {
  const std::vector<std::wstring> pieces = {L"--force",
                                            L"--unsilent-chrome",
                                            L"--silent-oru",
                                            L"--keep-user-data",
                                            L"--FORCE",
                                            L"--Silent-Oru",
                                            L"--force=1",
                                            L"-force",
                                            L"/force",
                                            L"\"\"",
                                            L"\"--force\"",
                                            L"\"--keep-user-data x\"",
                                            L"卸载",
                                            L"\U0001F600",
                                            L"%TEMP%",
                                            L"&",
                                            L"^",
                                            L"'",
                                            L"\\\\server\\share",
                                            std::wstring(5000, L'a'),
                                            L"--",
                                            L"--force--force",
                                            L"\t"};
  std::mt19937 random(20261123);
  for (int round = 0; round < 500; ++round) {
    std::wstring commandLine = L"\"C:\\Program Files\\oru_uninstall.exe\"";
    const int count = static_cast<int>(random() % 8);
    for (int i = 0; i < count; ++i) commandLine += L" " + pieces[random() % pieces.size()];

    int argc = 0;
    wchar_t** argv = ::CommandLineToArgvW(commandLine.c_str(), &argc);
    ASSERT_NE(argv, nullptr);
    std::vector<std::wstring> args(argv + 1, argv + argc);
    ::LocalFree(argv);
    auto holds = [&](const wchar_t* option) { return std::find(args.begin(), args.end(), option) != args.end(); };

    const UninstallOptions parsed = ParseCommandLine(commandLine.c_str());
    ASSERT_EQ(parsed.force, holds(kOptionForce)) << round;
    ASSERT_EQ(parsed.silent_chrome, !holds(kOptionUnsilentChrome)) << round;
    ASSERT_EQ(parsed.silent_oru, holds(kOptionSilentOru)) << round;
    ASSERT_EQ(parsed.keep_user_data, holds(kOptionKeepUserData)) << round;
  }
}

}  // namespace
}  // namespace oru
