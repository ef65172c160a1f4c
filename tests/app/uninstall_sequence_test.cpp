#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "app/uninstall_context.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "product_fixture.h"
#include "support/child_process.h"
#include "support/event_capture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::EventCapture;
using test::InstalledProduct;
using test::LogCapture;
using test::RegistryKeyExists;
using test::ScopedEnvironment;

// Default options, message boxes off.
UninstallContext QuietContext() { return UninstallContext(false, true, false, true); }

// The keys the registry cleanup deletes.
bool CleanupKeysExist() { return RegistryKeyExists(kProductClassesKey) && RegistryKeyExists(kMakerProductKey); }
bool CleanupKeysGone() { return !RegistryKeyExists(kProductClassesKey) && !RegistryKeyExists(kMakerProductKey); }

class UninstallSequenceTest : public ::testing::Test {
 protected:
  // What setup.exe leaves of the product's uninstall registration, and its exit code.
  void SetUpStub(const wchar_t* registration, const wchar_t* exitCode) {
    product_.InstallSetupStub();
    registration_.emplace(L"ORU_SETUP_STUB_REGISTRATION", registration);
    exitCode_.emplace(L"ORU_SETUP_STUB_EXIT_CODE", exitCode);
  }

  EventParams FilesParams() const {
    return {{"keep_user_data", "false"}, {"setup_path", WideToUtf8(product_.setupPath())}};
  }

  InstalledProduct product_;
  std::optional<ScopedEnvironment> registration_;
  std::optional<ScopedEnvironment> exitCode_;
};

TEST_F(UninstallSequenceTest, ProductRemovedBySetupIsUnregisteredAndSucceeds) {
  SetUpStub(L"remove", L"19");
  UninstallContext context = QuietContext();
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(RunUninstall(context), 0u);

  // The awkward install path reaches setup.exe exactly as composed.
  const std::wstring logFile = product_.installPath() + L"\\uninstall\\chrome_uninstall.log";
  EXPECT_EQ(product_.Trace(), L"\"" + product_.setupPath() +
                                  L"\" --uninstall --force-uninstall --verbose-logging --enable-logging --log-file=\"" +
                                  logFile + L"\" --delete-profile\n");
  EXPECT_TRUE(CleanupKeysGone());
  EXPECT_TRUE(RegistryKeyExists(kProductKey));

  const std::vector<std::wstring> inOrder = {
      L"初始化成功，开始卸载！",
      L"Starting uninstall process...",
      L"Process not running: setup.exe",
      L"Uninstall process finished, exit code: 19",
      L"Failed to open registry key: " + std::wstring(kUninstallRegistrationKey),
      L"oru should delete !!!",
      L"Deleting Oru registry entries...",
      L"setup.exe exitCode: 19",
      L"Chrome uninstall success!",
      L"卸载成功！",
  };
  long at = 0;
  for (const auto& line : inOrder) {
    at = log.IndexOf(line, static_cast<size_t>(at));
    ASSERT_GE(at, 0) << "missing or out of order: " << WideToUtf8(line);
  }

  const auto reported = events.Events();
  ASSERT_EQ(events.Names(),
            (std::vector<std::string>{"uninstall_begin", "uninstall_delete_files_start", "uninstall_registry_start",
                                      "uninstall_registry_done", "uninstall_delete_files_done"}));
  EXPECT_EQ(reported[0].params, (EventParams{{"install_path", WideToUtf8(product_.installPath())}, {"pv", "1.0.0.1"}}));
  EXPECT_EQ(reported[1].params, FilesParams());
  EXPECT_EQ(reported[2].params, (EventParams{{"action", "delete_oru_registry"}}));
  EXPECT_EQ(reported[3].params, (EventParams{{"action", "delete_oru_registry"}}));
  EXPECT_EQ(reported[4].params, FilesParams());
}

// Only the value matters: gone or empty both mean setup.exe removed the product.
TEST(UninstallRemovalCheckTest, MissingOrEmptyUninstallStringAlsoCountsAsRemoved) {
  for (const wchar_t* registration : {L"value", L"empty"}) {
    SCOPED_TRACE(WideToUtf8(registration));
    InstalledProduct product;
    product.InstallSetupStub();
    ScopedEnvironment stub(L"ORU_SETUP_STUB_REGISTRATION", registration);
    UninstallContext context = QuietContext();
    LogCapture log;

    EXPECT_EQ(RunUninstall(context), 0u);

    EXPECT_TRUE(RegistryKeyExists(kUninstallRegistrationKey));
    EXPECT_TRUE(log.Has(L"oru should delete !!!"));
    EXPECT_TRUE(CleanupKeysGone());
  }
}

TEST_F(UninstallSequenceTest, ProductStillRegisteredKeepsItsKeysAndFails) {
  SetUpStub(L"keep", L"21");
  UninstallContext context = QuietContext();
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(RunUninstall(context), 1u);

  EXPECT_TRUE(CleanupKeysExist());
  EXPECT_TRUE(log.Has(L"oru shouldn't delete !!!!!!!"));
  EXPECT_FALSE(log.Has(L"Deleting Oru registry entries..."));
  EXPECT_GT(log.IndexOf(L"User cancels Chrome uninstallation!"), log.IndexOf(L"oru shouldn't delete !!!!!!!"));
  EXPECT_TRUE(log.Has(L"卸载失败！"));
  const auto reported = events.Events();
  ASSERT_EQ(events.Names(), (std::vector<std::string>{"uninstall_begin", "uninstall_delete_files_start",
                                                      "uninstall_delete_files_done"}));
  EventParams skipped = FilesParams();
  skipped["skip_reason"] = "chrome_not_deleted";
  EXPECT_EQ(reported[2].params, skipped);
}

// The registry cleanup's failure changes the events, not the result.
TEST_F(UninstallSequenceTest, FailedRegistryCleanupStillSucceeds) {
  SetUpStub(L"remove", L"19");
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kProductClassesKey);
  UninstallContext context = QuietContext();
  EventCapture events;

  EXPECT_EQ(RunUninstall(context), 0u);

  EXPECT_TRUE(RegistryKeyExists(kMakerProductKey));
  const auto reported = events.Events();
  ASSERT_EQ(events.Names(),
            (std::vector<std::string>{"uninstall_begin", "uninstall_delete_files_start", "uninstall_registry_start",
                                      "uninstall_registry_fail", "uninstall_delete_files_done"}));
  EXPECT_EQ(reported[3].params, (EventParams{{"action", "delete_oru_registry"}, {"error", "delete_failed"}}));
}

TEST_F(UninstallSequenceTest, MissingSetupFails) {
  UninstallContext context = QuietContext();
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(RunUninstall(context), 1u);

  const std::vector<std::wstring> lines = log.Lines();
  const long start = log.IndexOf(L"Starting uninstall process...");
  ASSERT_GE(start, 0);
  ASSERT_GE(lines.size(), static_cast<size_t>(start) + 6);
  const std::vector<std::wstring> steps(lines.begin() + start, lines.begin() + start + 6);
  EXPECT_EQ(steps, (std::vector<std::wstring>{
                       L"Starting uninstall process...", L"setup.exe does not exist: " + product_.setupPath(),
                       L"setup.exe exitCode: 333", L"没有找到 setup.exe 文件", L"setup.exe 文件缺失", L"卸载失败！"}));
  EXPECT_TRUE(CleanupKeysExist());
  EXPECT_EQ(events.Names(), (std::vector<std::string>{"uninstall_begin"}));
}

// Any process named setup.exe blocks the uninstall, not only the product's.
TEST_F(UninstallSequenceTest, RunningSetupElsewhereBlocksTheUninstall) {
  SetUpStub(L"remove", L"19");
  test::TempDir elsewhere;
  test::ChildProcess other = test::ChildProcess::Sleeper(test::CopyHelperAs(elsewhere.Child(L"setup.exe")));
  ASSERT_TRUE(other.Running());
  UninstallContext context = QuietContext();
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(RunUninstall(context), 1u);

  EXPECT_TRUE(product_.Trace().empty());
  EXPECT_TRUE(other.Running());
  const long running = log.IndexOf(L"setup.exe 正在运行！");
  ASSERT_GE(running, 0);
  EXPECT_EQ(log.IndexOf(L"setup.exe exitCode: 60"), running + 1);
  EXPECT_EQ(log.Count(L"setup.exe 被其他进程占用"), 2u);
  EXPECT_TRUE(CleanupKeysExist());
  EXPECT_EQ(events.Names(), (std::vector<std::string>{"uninstall_begin"}));
}

// A setup.exe that is no program counts as a failed uninstall, which asks
// for the final cleanup.
TEST_F(UninstallSequenceTest, SetupThatCannotStartLeadsToTheFinalCleanup) {
  product_.InstallBrokenSetup();
  UninstallContext context = QuietContext();
  LogCapture log;

  EXPECT_EQ(RunUninstall(context), 1u);

  const std::vector<std::wstring> lines = log.Lines();
  const std::wstring launchFailed = L"Failed to create uninstall process, error code: ";
  const auto failed = std::find_if(lines.begin(), lines.end(),
                                   [&](const std::wstring& line) { return line.starts_with(launchFailed); });
  ASSERT_NE(failed, lines.end());
  EXPECT_NE(failed->substr(launchFailed.size()), L"0");
  const long code = log.IndexOf(L"setup.exe exitCode: 20", static_cast<size_t>(failed - lines.begin()));
  ASSERT_GE(code, 0);
  EXPECT_EQ(lines[static_cast<size_t>(code) + 1], L"chrome 卸载失败");
  // The cleanup's own first line, whatever it is, names it.
  EXPECT_NE(lines[static_cast<size_t>(code) + 2].find(L"cleanup"), std::wstring::npos);
  EXPECT_TRUE(log.Has(L"oru shouldn't delete !!!!!!!"));
}

TEST_F(UninstallSequenceTest, MissingInstallationEndsBeforeLookingForSetup) {
  ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kProductKey, kInstallPathValue);
  UninstallContext context = QuietContext();
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(RunUninstall(context), 5u);

  EXPECT_TRUE(log.Has(L"卸载器初始化失败！"));
  EXPECT_FALSE(log.Has(L"Checking if process is running: setup.exe"));
  const auto reported = events.Events();
  ASSERT_EQ(events.Names(), (std::vector<std::string>{"uninstall_failed"}));
  EXPECT_EQ(reported[0].params, (EventParams{{"reason", "init_failed"}, {"result_code", "5"}}));
}

}  // namespace
}  // namespace oru
