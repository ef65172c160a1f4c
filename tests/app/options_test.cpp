#include "app/options.h"

#include <gtest/gtest.h>

#include "common/strings.h"

namespace oru::test {
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

}  // namespace
}  // namespace oru::test
