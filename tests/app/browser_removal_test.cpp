#include "app/browser_removal.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/strings.h"
#include "support/log_capture.h"

namespace oru {
namespace {

using test::LogCapture;

// A code outside the table is "others", whatever its value. (The codes the
// end-to-end runs meet are checked there.)
TEST(BrowserRemovalTest, CodesOutsideTheTableAreOthers) {
  UninstallContext context(false, true, false, true);
  for (const std::uint32_t code : {0u, 23u, 4294967295u}) {
    LogCapture log;
    InterpretExitCode(context, code);
    EXPECT_EQ(log.Lines(),
              (std::vector<std::wstring>{L"setup.exe exitCode: " + ToWideDecimal(code), L"Others exit code!!!"}));
  }
}

}  // namespace
}  // namespace oru
