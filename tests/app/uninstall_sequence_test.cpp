#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/uninstall_sequence.h"
#include "product_fixture.h"
#include "support/child_process.h"
#include "support/event_capture.h"

namespace oru {
namespace {

using test::EventCapture;
using test::InstalledProduct;
using test::LogCapture;
using test::RegistryKeyExists;
using Names = std::vector<std::string>;

// Default options, message boxes off.
UninstallContext QuietContext() { return UninstallContext(false, true, false, true); }

void ExpectInOrder(const LogCapture& log, const std::vector<std::wstring>& lines) {
  long at = 0;
  for (const auto& line : lines) {
    at = log.IndexOf(line, static_cast<size_t>(at));
    ASSERT_GE(at, 0) << "missing or out of order: " << WideToUtf8(line);
  }
}

// The product counts as removed once setup.exe has taken away its uninstall
// string: the key, the value, or just its text. Only then are its keys
// cleaned up, the second tree only once the first is gone; a failed cleanup
// changes the event, not the result.
TEST(UninstallSequenceTest, OutcomeFollowsWhatSetupLeftOfTheUninstallString) {
  const struct {
    const wchar_t* registration;
    const wchar_t* absentKey;
    unsigned result;
  } rows[] = {{L"remove", nullptr, 0},
              {L"value", kProductClassesKey, 0},
              {L"empty", kMakerProductKey, 0},
              {L"keep", nullptr, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(WideToUtf8(row.registration));
    InstalledProduct product;
    product.InstallSetup();
    if (row.absentKey) ::RegDeleteTreeW(HKEY_CURRENT_USER, row.absentKey);
    const bool removed = row.result == 0;
    ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_REGISTRATION", row.registration);
    ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_EXIT_CODE", removed ? L"19" : L"21");
    UninstallContext context = QuietContext();
    EventCapture events;
    LogCapture log;

    EXPECT_EQ(RunUninstall(context), row.result);

    ExpectInOrder(
        log,
        removed ? std::vector<std::wstring>{L"oru should delete !!!", L"Deleting Oru registry entries...",
                                            L"setup.exe exitCode: 19", L"卸载成功！"}
                : std::vector<std::wstring>{L"oru shouldn't delete !!!!!!!", L"setup.exe exitCode: 21", L"卸载失败！"});
    EXPECT_NE(RegistryKeyExists(kProductClassesKey), removed);
    EXPECT_EQ(RegistryKeyExists(kMakerProductKey), !removed || row.absentKey == kProductClassesKey);
    for (const wchar_t* kept : {kProductKey, L"SOFTWARE\\Kelvane"}) EXPECT_TRUE(RegistryKeyExists(kept));

    const char* cleanup = row.absentKey ? "uninstall_registry_fail" : "uninstall_registry_done";
    ASSERT_EQ(events.Names(),
              (removed ? Names{"uninstall_begin", "uninstall_delete_files_start", "uninstall_registry_start", cleanup,
                               "uninstall_delete_files_done"}
                       : Names{"uninstall_begin", "uninstall_delete_files_start", "uninstall_delete_files_done"}));
    const auto reported = events.Events();
    EXPECT_EQ(reported[0].params, (EventParams{{"install_path", WideToUtf8(product.installPath)}, {"pv", "1.0.0.1"}}));
    EventParams files{{"keep_user_data", "false"}, {"setup_path", WideToUtf8(product.setupPath)}};
    if (!removed) files["skip_reason"] = "chrome_not_deleted";
    EXPECT_EQ(reported.back().params, files);
    if (!removed) continue;
    EventParams action{{"action", "delete_oru_registry"}};
    if (row.absentKey) action["error"] = "delete_failed";
    EXPECT_EQ(reported[3].params, action);
  }
}

// A missing setup.exe, any process of that name running, or a setup.exe
// that is no program: the uninstall fails and every key stays. Only the last
// is a failed uninstall (code 20), which asks for the final cleanup.
TEST(UninstallSequenceTest, SetupThatCannotRunEndsTheUninstallKeepingTheKeys) {
  enum Case { kMissing, kRunningElsewhere, kNotAProgram };
  for (const Case c : {kMissing, kRunningElsewhere, kNotAProgram}) {
    SCOPED_TRACE(c);
    InstalledProduct product;
    test::TempDir elsewhere;
    test::ChildProcess other;
    if (c != kMissing) product.InstallSetup(c == kRunningElsewhere);
    if (c == kRunningElsewhere) {
      other = test::ChildProcess::Sleeper(test::CopyHelperAs(elsewhere.Child(L"setup.exe")));
      ASSERT_TRUE(other.Running());
    }
    UninstallContext context = QuietContext();
    EventCapture events;
    LogCapture log;

    EXPECT_EQ(RunUninstall(context), 1u);

    const std::vector<std::wstring> lines[] = {
        {L"setup.exe does not exist: " + product.setupPath, L"setup.exe exitCode: 333", L"卸载失败！"},
        {L"setup.exe 正在运行！", L"setup.exe exitCode: 60", L"卸载失败！"},
        {L"oru shouldn't delete !!!!!!!", L"setup.exe exitCode: 20", L"chrome 卸载失败", L"卸载失败！"}};
    ExpectInOrder(log, lines[c]);
    const std::wstring launchFailed = L"Failed to create uninstall process, error code: ";
    EXPECT_EQ(log.HasFragment(launchFailed), c == kNotAProgram);
    EXPECT_FALSE(log.Has(launchFailed + L"0"));
    EXPECT_TRUE(product.Trace().empty());
    EXPECT_EQ(other.Running(), c == kRunningElsewhere);
    EXPECT_TRUE(RegistryKeyExists(kProductClassesKey));
    // The final cleanup's own events follow.
    const Names names = events.Names();
    EXPECT_EQ(
        Names(names.begin(), names.begin() + std::min<size_t>(names.size(), 3)),
        (c == kNotAProgram ? Names{"uninstall_begin", "uninstall_delete_files_start", "uninstall_delete_files_done"}
                           : Names{"uninstall_begin"}));
  }
}

}  // namespace
}  // namespace oru
