#include "app/install_discovery.h"

#include <gtest/gtest.h>

#include <vector>

#include "app/uninstall_context.h"
#include "product_fixture.h"
#include "support/child_process.h"
#include "support/event_capture.h"

namespace oru {
namespace {

using test::ChildProcess;
using test::EventCapture;
using test::InstalledProduct;
using test::LogCapture;

// The one outcome the end-to-end runs cannot stage: a running application
// that cannot be killed ends the check with 4, before the registry is read.
TEST(InstallDiscoveryTest, AFailedKillEndsTheCheckBeforeTheRegistryIsRead) {
  InstalledProduct product;
  ChildProcess app = ChildProcess::Sleeper(test::CopyHelperAs(product.dir.Child(L"oru.stravo.exe")));
  ASSERT_TRUE(app.Running());
  ASSERT_TRUE(app.DenyOpenByOthers());
  UninstallContext context(true, true, false, true);
  EventCapture events;
  LogCapture log;

  EXPECT_EQ(StopAppAndFindInstallation(context), kAppKillFailed);

  EXPECT_TRUE(app.Running());
  EXPECT_TRUE(log.Has(L"oru.stravo.exe kill failed."));
  EXPECT_TRUE(context.install_path.empty());
  EXPECT_FALSE(log.HasFragment(L"registry"));
  EXPECT_EQ(events.Names(), (std::vector<std::string>{"uninstall_stop_app_start", "uninstall_stop_app_fail"}));
  EXPECT_EQ(events.Events().back().params, (EventParams{{"error", "kill_failed"}, {"process_name", "oru.stravo.exe"}}));
}

}  // namespace
}  // namespace oru
