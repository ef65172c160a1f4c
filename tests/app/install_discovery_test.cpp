#include "app/install_discovery.h"

#include <gtest/gtest.h>

#include <vector>

#include "app/uninstall_sequence.h"
#include "product_fixture.h"
#include "support/child_process.h"
#include "support/event_capture.h"

namespace oru {
namespace {

using test::ChildProcess;
using test::EventCapture;
using test::InstalledProduct;
using test::LogCapture;

constexpr char kStart[] = "uninstall_stop_app_start", kDone[] = "uninstall_stop_app_done";

// --force with nothing running must not count as a failed kill; a failed
// kill ends the check before the registry is read.
TEST(InstallDiscoveryTest, AppIsKilledOnlyWithForceAndTheInstallationIsFound) {
  const struct {
    bool running, force, guarded;
    unsigned result;
    const wchar_t* line;
    std::vector<std::string> events;
  } rows[] = {
      {false, true, false, kInstallationReady, nullptr, {}},
      {true, false, false, kInstallationReady, L"oru.stravo.exe is running. Please close it first or use --force.", {}},
      {true, true, false, kInstallationReady, L"oru.stravo.exe is running, now kill it.", {kStart, kDone}},
      {true, true, true, kAppKillFailed, L"oru.stravo.exe kill failed.", {kStart, "uninstall_stop_app_fail"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.running << row.force << row.guarded);
    InstalledProduct product;
    ChildProcess app;
    if (row.running) app = ChildProcess::Sleeper(test::CopyHelperAs(product.dir.Child(L"oru.stravo.exe")));
    ASSERT_EQ(app.Running(), row.running);
    ASSERT_TRUE(!row.guarded || app.DenyOpenByOthers());
    UninstallContext context(row.force, true, false, true);
    EventCapture events;
    LogCapture log;

    EXPECT_EQ(StopAppAndFindInstallation(context), row.result);

    EXPECT_EQ(app.Running(), row.running && (!row.force || row.guarded));
    EXPECT_TRUE(!row.line || log.Has(row.line));
    const bool found = row.result == kInstallationReady;
    EXPECT_EQ(context.install_path, found ? product.installPath : L"");
    EXPECT_EQ(context.pv, found ? InstalledProduct::kVersion : L"");
    // Every registry read logs a line naming the registry.
    EXPECT_EQ(log.HasFragment(L"registry") || log.HasFragment(L"Registry"), found);
    EXPECT_EQ(events.Names(), row.events);
    for (const auto& event : events.Events()) {
      EventParams expected{{"process_name", "oru.stravo.exe"}};
      if (!found && event.name == row.events.back()) expected["error"] = "kill_failed";
      EXPECT_EQ(event.params, expected);
    }
  }
}

// Whatever is wrong with the values, the uninstall ends with 5 and the
// reason in the log, before setup.exe is even looked for.
TEST(InstallDiscoveryTest, MissingOrUnusableValuesMeanNoInstallation) {
  const struct {
    const wchar_t* value;  // nullptr: the whole key is missing
    DWORD type;            // REG_NONE: the value is missing
    std::wstring data;
    std::wstring reason;
  } rows[] = {
      {kInstallPathValue, REG_NONE, L"", L"Registry value not found: OruInstallPath"},
      {kInstallPathValue, REG_SZ, L"", L"Found pv value in registry: "},
      // A DWORD is read as the text of its bytes: 0 reads as nothing.
      {kProductVersionValue, REG_DWORD, std::wstring(2, L'\0'), L"Found pv value in registry: "},
      {kInstallPathValue, REG_SZ, std::wstring(260, L'x'), L"Registry value is too long: OruInstallPath"},
      {nullptr, REG_NONE, L"", L"Failed to open registry key: SOFTWARE\\Oru.stravo"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(WideToUtf8(row.reason));
    InstalledProduct product;
    if (!row.value) {
      ::RegDeleteTreeW(HKEY_CURRENT_USER, kProductKey);
    } else if (row.type == REG_NONE) {
      ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kProductKey, row.value);
    } else {
      ::RegSetKeyValueW(HKEY_CURRENT_USER, kProductKey, row.value, row.type, row.data.c_str(),
                        static_cast<DWORD>((row.data.size() + (row.type == REG_SZ)) * sizeof(wchar_t)));
    }
    UninstallContext context(false, true, false, true);
    EventCapture events;
    LogCapture log;

    EXPECT_EQ(RunUninstall(context), kInstallationInfoMissing);

    EXPECT_TRUE(log.Has(row.reason));
    EXPECT_TRUE(log.Has(L"Could not find required installation information in the registry (OruInstallPath or pv)."));
    EXPECT_TRUE(log.Has(L"卸载器初始化失败！"));
    EXPECT_FALSE(log.HasFragment(L"setup.exe"));
    ASSERT_EQ(events.Names(), (std::vector<std::string>{"uninstall_failed"}));
    EXPECT_EQ(events.Events()[0].params, (EventParams{{"reason", "init_failed"}, {"result_code", "5"}}));
  }
}

}  // namespace
}  // namespace oru
