#include "app/options.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace oru
