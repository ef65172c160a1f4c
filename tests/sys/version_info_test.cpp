#include "sys/version_info.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru {
namespace {

using test::LogCapture;

TEST(VersionInfo, ReadsTheUninstallersOwnResourceAndExplainsWhatIsMissing) {
  VersionInfoReader reader(test::BinFile(L"oru_uninstall.exe"));
  ASSERT_TRUE(reader.Load());
  EXPECT_EQ(reader.GetProductVersion(), L"" ORU_PROJECT_VERSION);
  EXPECT_EQ(reader.GetField(L"ProductName"), L"Oru.stravo");
  LogCapture log;
  EXPECT_EQ(reader.GetField(L"NoSuchField"), L"");
  EXPECT_TRUE(log.HasFragment(L"VersionInfoReader: 未找到字段 NoSuchField, 文件: "));

  test::TempDir dir;
  const std::wstring path = dir.WriteFile(L"plain.txt", "no resource here");
  VersionInfoReader plain(path);
  EXPECT_FALSE(plain.Load());
  EXPECT_EQ(plain.GetProductVersion(), L"");
  EXPECT_TRUE(log.HasFragment(L"[WARNING] VersionInfoReader: 无法获取版本信息大小，文件: " + path + L", 错误码: "));
  // The test programs carry no version resource of their own.
  EXPECT_EQ(GetOwnProductVersion(), "unknown");
}

TEST(VersionInfo, OsVersionPartsOfTheTestSystem) {
  EXPECT_EQ(GetOsVersionPart(0), 10);
  EXPECT_EQ(GetOsVersionPart(1), 0);
  EXPECT_GT(GetOsVersionPart(2), 0);
  EXPECT_EQ(GetOsVersionPart(3), -1);
  EXPECT_EQ(GetOsVersionPart(-1), -1);
}

}  // namespace
}  // namespace oru
