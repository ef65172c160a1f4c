#include "sys/version_info.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

TEST(VersionInfo, ReadsTheUninstallersOwnResourceAndExplainsWhatIsMissing) {
  VersionInfoReader reader(BinFile(L"oru_uninstall.exe"));
  ASSERT_TRUE(reader.Load());
  EXPECT_EQ(reader.GetProductVersion(), L"" ORU_PROJECT_VERSION);
  EXPECT_EQ(reader.GetField(L"ProductName"), L"Oru.stravo");
  LogCapture log;
  EXPECT_EQ(reader.GetField(L"NoSuchField"), L"");
  EXPECT_TRUE(log.HasFragment(L"VersionInfoReader: 未找到字段 NoSuchField, 文件: "));

  // The test programs carry no version resource of their own.
  EXPECT_EQ(GetOwnProductVersion(), "unknown");
  EXPECT_TRUE(log.HasFragment(L"[WARNING] VersionInfoReader: 无法获取版本信息大小，文件: " + BinDir()));
}

}  // namespace
}  // namespace oru::test
