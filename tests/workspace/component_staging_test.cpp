#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "workspace/temp_directory_manager.h"

namespace oru {
namespace {

using test::Exists;
using test::LogCapture;
using test::ReadFileBytes;
using test::TempDir;

const std::vector<std::wstring> kAllFiles = {L"tavrin_sdk.dll", L"dorvid.dll", L"crellix_logger.dll", L"vantor.dll",
                                             L"client_extension.dll"};

class StagingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(workspace.Initialize(0, false));
    staged = workspace.GetTavrinDirectory();
  }

  // Puts the named files into the installation's version folder, each
  // holding its own name.
  void Install(const std::vector<std::wstring>& names) {
    for (const auto& name : names) installed.WriteFile(L"1.0\\" + name, std::string(name.begin(), name.end()));
  }
  [[nodiscard]] std::wstring Source() const { return installed.Child(L"1.0"); }
  [[nodiscard]] std::wstring Staged(const std::wstring& name) const { return staged + L"\\" + name; }

  TempDirectoryManager workspace{[](const std::wstring&, std::uint64_t& available) {
    available = 1ULL << 40;
    return true;
  }};
  std::wstring staged;
  TempDir installed;
  LogCapture log;
};

TEST_F(StagingTest, AllFiveFilesAreCopiedInTheirOrder) {
  Install(kAllFiles);
  EXPECT_TRUE(workspace.CopyTavrinFiles(Source()));

  long previous = -1;
  for (const auto& name : kAllFiles) {
    EXPECT_EQ(ReadFileBytes(Staged(name)), std::string(name.begin(), name.end()));
    const long copying = log.IndexOf(L"复制文件: " + Source() + L"\\" + name + L" -> " + Staged(name));
    EXPECT_GT(copying, previous) << "out of order: " << std::string(name.begin(), name.end());
    previous = copying;
  }
  EXPECT_EQ(log.Count(L"  ✓ 复制成功"), 5u);
  EXPECT_TRUE(log.Has(L"Tavrin 文件复制完成: 成功 5 个，失败 0 个"));
}

TEST_F(StagingTest, AnyTwoFilesAreEnoughEvenWithoutTheTelemetryLibrary) {
  Install({L"crellix_logger.dll", L"vantor.dll"});
  EXPECT_TRUE(workspace.CopyTavrinFiles(Source()));
  EXPECT_TRUE(log.Has(L"[WARNING] 源文件不存在，跳过: " + Source() + L"\\tavrin_sdk.dll"));
  EXPECT_TRUE(log.Has(L"Tavrin 文件复制完成: 成功 2 个，失败 0 个"));
  EXPECT_FALSE(Exists(Staged(L"tavrin_sdk.dll")));
}

TEST_F(StagingTest, OneFileIsNotEnough) {
  Install({L"tavrin_sdk.dll"});
  EXPECT_FALSE(workspace.CopyTavrinFiles(Source()));
  EXPECT_TRUE(log.Has(L"Tavrin 文件复制完成: 成功 1 个，失败 0 个"));
  EXPECT_TRUE(log.Has(L"[ERROR] 关键文件复制失败，无法使用 Tavrin SDK"));
}

TEST_F(StagingTest, AReadOnlyCopyLeftByAnEarlierAttemptIsReplaced) {
  Install(kAllFiles);
  TempDir earlier;
  ASSERT_TRUE(::CopyFileW(earlier.WriteFile(L"dorvid.dll", "stale").c_str(), Staged(L"dorvid.dll").c_str(), FALSE));
  ::SetFileAttributesW(Staged(L"dorvid.dll").c_str(), FILE_ATTRIBUTE_READONLY);

  EXPECT_TRUE(workspace.CopyTavrinFiles(Source()));
  EXPECT_EQ(ReadFileBytes(Staged(L"dorvid.dll")), "dorvid.dll");
  EXPECT_EQ(log.Count(L"  ✓ 复制成功"), 5u);
}

TEST_F(StagingTest, ALockedFileIsTriedThreeTimesThenCountedAsFailed) {
  Install({L"tavrin_sdk.dll", L"dorvid.dll", L"vantor.dll"});
  auto holder = test::ChildProcess::HoldFile(Source() + L"\\tavrin_sdk.dll");
  ASSERT_TRUE(holder.Running());

  const DWORD start = ::GetTickCount();
  EXPECT_TRUE(workspace.CopyTavrinFiles(Source()));
  EXPECT_GE(::GetTickCount() - start, 300u);  // 100 ms, then 200 ms

  EXPECT_EQ(log.Count(L"    CopyFile 失败，错误码: 32"), 3u);
  EXPECT_TRUE(log.Has(L"    重试复制文件 (第 2 次)..."));
  EXPECT_TRUE(log.Has(L"    重试复制文件 (第 3 次)..."));
  EXPECT_FALSE(log.Has(L"    重试复制文件 (第 4 次)..."));
  EXPECT_TRUE(log.Has(L"[ERROR]   ✗ 复制失败"));
  EXPECT_TRUE(log.Has(L"Tavrin 文件复制完成: 成功 2 个，失败 1 个"));
}

TEST_F(StagingTest, AMissingVersionFolderStagesNothing) {
  EXPECT_FALSE(workspace.CopyTavrinFiles(Source()));
  EXPECT_TRUE(log.Has(L"[ERROR] 源 Tavrin 目录不存在: " + Source()));
  EXPECT_FALSE(log.HasFragment(L"Tavrin 文件复制完成"));
}

}  // namespace
}  // namespace oru
