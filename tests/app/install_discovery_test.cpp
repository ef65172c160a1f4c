#include "app/install_discovery.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/product_keys.h"
#include "product_fixture.h"
#include "support/child_process.h"
#include "support/event_capture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::ChildProcess;
using test::EventCapture;
using test::InstalledProduct;
using test::LogCapture;

// Every read of a registry value leaves one of these lines.
bool RegistryWasRead(const LogCapture& log) {
  for (const wchar_t* fragment :
       {L"Failed to open registry key: ", L"Registry value not found: ", L"Registry value is too long: ",
        L"Failed to query registry value: ", L"Found pv value in registry: "}) {
    if (log.HasFragment(fragment)) return true;
  }
  return false;
}

class InstallDiscoveryTest : public ::testing::Test {
 protected:
  // A running application, started under its real image name.
  ChildProcess StartApp() { return ChildProcess::Sleeper(test::CopyHelperAs(dir_.Child(L"oru.stravo.exe"))); }

  static void ExpectFound(const LogCapture& log, const UninstallContext& context, const InstalledProduct& product) {
    EXPECT_EQ(context.install_path, product.installPath());
    EXPECT_EQ(context.pv, InstalledProduct::kVersion);
    EXPECT_TRUE(log.Has(L"Found installation path from registry: " + product.installPath()));
    EXPECT_TRUE(log.Has(L"Found pv value from registry: 1.0.0.1"));
  }

  test::TempDir dir_;
};

TEST_F(InstallDiscoveryTest, FindsTheInstallationWhenTheAppIsNotRunning) {
  InstalledProduct product;
  UninstallContext context(true, true, false, true);
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(StopAppAndFindInstallation(context), kInstallationReady);

  ExpectFound(log, context, product);
  EXPECT_TRUE(events.Names().empty());
}

TEST_F(InstallDiscoveryTest, RunningAppWithoutForceIsOnlyNoted) {
  InstalledProduct product;
  ChildProcess app = StartApp();
  ASSERT_TRUE(app.Running());
  UninstallContext context(false, true, false, true);
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(StopAppAndFindInstallation(context), kInstallationReady);

  EXPECT_TRUE(log.Has(L"oru.stravo.exe is running. Please close it first or use --force."));
  EXPECT_TRUE(app.Running());
  EXPECT_TRUE(events.Names().empty());
  ExpectFound(log, context, product);
}

TEST_F(InstallDiscoveryTest, ForceKillsTheRunningApp) {
  InstalledProduct product;
  ChildProcess app = StartApp();
  ASSERT_TRUE(app.Running());
  UninstallContext context(true, true, false, true);
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(StopAppAndFindInstallation(context), kInstallationReady);

  EXPECT_FALSE(app.Running());
  EXPECT_TRUE(log.Has(L"oru.stravo.exe is running, now kill it."));
  const EventParams params{{"process_name", "oru.stravo.exe"}};
  const auto reported = events.Events();
  ASSERT_EQ(events.Names(), (std::vector<std::string>{"uninstall_stop_app_start", "uninstall_stop_app_done"}));
  EXPECT_EQ(reported[0].params, params);
  EXPECT_EQ(reported[1].params, params);
  ExpectFound(log, context, product);
}

TEST_F(InstallDiscoveryTest, FailedKillStopsBeforeTheRegistryIsRead) {
  InstalledProduct product;
  ChildProcess app = StartApp();
  ASSERT_TRUE(app.Running());
  ASSERT_TRUE(app.DenyOpenByOthers());
  UninstallContext context(true, true, false, true);
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(StopAppAndFindInstallation(context), kAppKillFailed);

  EXPECT_TRUE(app.Running());
  EXPECT_TRUE(context.install_path.empty());
  EXPECT_TRUE(context.pv.empty());
  EXPECT_TRUE(log.Has(L"oru.stravo.exe kill failed."));
  EXPECT_FALSE(RegistryWasRead(log));
  const auto reported = events.Events();
  ASSERT_EQ(events.Names(), (std::vector<std::string>{"uninstall_stop_app_start", "uninstall_stop_app_fail"}));
  EXPECT_EQ(reported[0].params, (EventParams{{"process_name", "oru.stravo.exe"}}));
  EXPECT_EQ(reported[1].params, (EventParams{{"error", "kill_failed"}, {"process_name", "oru.stravo.exe"}}));
}

struct BadValue {
  const char* name;
  void (*spoil)();
  std::wstring reason;  // the registry layer's line that explains it
};

// Whatever is wrong with the values, the answer is 5 with a reason in the
// log, never a crash or a half-filled installation.
TEST_F(InstallDiscoveryTest, MissingOrUnusableValuesMeanNoInstallation) {
  const std::vector<BadValue> cases = {
      {"path missing", [] { ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kProductKey, kInstallPathValue); },
       L"Registry value not found: OruInstallPath"},
      {"path empty", [] { test::SetRegistryString(kProductKey, kInstallPathValue, L""); },
       L"Found pv value in registry: "},
      // A DWORD is read as the text of its bytes: 0 reads as nothing.
      {"pv a DWORD", [] { test::SetRegistryDword(kProductKey, kProductVersionValue, 0); },
       L"Found pv value in registry: "},
      {"path too long", [] { test::SetRegistryString(kProductKey, kInstallPathValue, std::wstring(260, L'x')); },
       L"Registry value is too long: OruInstallPath"},
      {"key missing", [] { ::RegDeleteTreeW(HKEY_CURRENT_USER, kProductKey); },
       L"Failed to open registry key: SOFTWARE\\Oru.stravo"},
  };
  for (const BadValue& bad : cases) {
    SCOPED_TRACE(bad.name);
    InstalledProduct product;
    bad.spoil();
    UninstallContext context(false, true, false, true);
    LogCapture log;

    EXPECT_EQ(StopAppAndFindInstallation(context), kInstallationInfoMissing);

    EXPECT_TRUE(log.Has(bad.reason));
    EXPECT_TRUE(log.Has(L"Could not find required installation information in the registry (OruInstallPath or pv)."));
    EXPECT_FALSE(log.HasFragment(L"Found installation path from registry: "));
  }
}

}  // namespace
}  // namespace oru
