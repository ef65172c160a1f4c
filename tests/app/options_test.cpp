#include "app/options.h"

#include <windows.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "common/strings.h"

namespace oru {
namespace {

struct Flags {
  bool force, silent_chrome, keep_user_data, silent_oru;
  bool operator==(const Flags&) const = default;
};

Flags Parse(const wchar_t* commandLine) {
  const UninstallOptions o = ParseCommandLine(commandLine);
  return {o.force, o.silent_chrome, o.keep_user_data, o.silent_oru};
}

// An option counts exactly when one whole argument, as the system splits the
// command line, equals it; the program's own path never counts.
TEST(Options, EachOptionSetsOnlyItsFlagAndOnlyAsAWholeExactArgument) {
  const struct {
    const wchar_t* arguments;
    Flags flags;
  } rows[] = {
      {L"", {false, true, false, false}},
      {L"--force", {true, true, false, false}},
      {L"--unsilent-chrome", {false, false, false, false}},
      {L"--keep-user-data", {false, true, true, false}},
      {L"--silent-oru", {false, true, false, true}},
      {L"--silent-oru --force --keep-user-data --unsilent-chrome --force", {true, false, true, true}},
      {L"\"--force\" \"--keep-user-data x\" unknown", {true, true, false, false}},
      {L"--FORCE --force=1 -force /force --Silent-Oru --force--force \"\" 卸载", {false, true, false, false}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Parse((L"\"C:\\Program Files\\oru_uninstall.exe\" " + std::wstring(row.arguments)).c_str()), row.flags)
        << WideToUtf8(row.arguments);
  }
}

// 500 random command lines (unknown switches, empty, quoted and 5000-character
// arguments, the options in any case and repetition): parsing never fails and
// agrees with the system's own split of the same line.
TEST(Options, RandomCommandLinesParseToExactlyTheOptionsTheyHold) {
  const std::wstring pieces[] = {L"--force",
                                 L"--unsilent-chrome",
                                 L"--silent-oru",
                                 L"--keep-user-data",
                                 L"--FORCE",
                                 L"--force=1",
                                 L"\"\"",
                                 L"\"--force\"",
                                 L"卸载",
                                 L"%TEMP%",
                                 L"&",
                                 L"^",
                                 L"'",
                                 std::wstring(5000, L'a'),
                                 L"--",
                                 L"\t"};
  std::mt19937 random(20261123);
  for (int round = 0; round < 500; ++round) {
    std::wstring line = L"\"C:\\Program Files\\oru_uninstall.exe\"";
    for (int i = 0, n = static_cast<int>(random() % 8); i < n; ++i) line += L" " + pieces[random() % std::size(pieces)];
    int argc = 0;
    wchar_t** argv = ::CommandLineToArgvW(line.c_str(), &argc);
    ASSERT_NE(argv, nullptr);
    const std::vector<std::wstring> args(argv + 1, argv + argc);
    ::LocalFree(argv);
    auto holds = [&](const wchar_t* option) { return std::find(args.begin(), args.end(), option) != args.end(); };
    ASSERT_EQ(Parse(line.c_str()), (Flags{holds(kOptionForce), !holds(kOptionUnsilentChrome),
                                          holds(kOptionKeepUserData), holds(kOptionSilentOru)}))
        << round;
  }
}

}  // namespace
}  // namespace oru
