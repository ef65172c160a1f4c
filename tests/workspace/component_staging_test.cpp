#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "common/strings.h"
#include "inject/fault_injector.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "workspace/component_staging.h"

namespace oru::test {
namespace {

// Any two of the five libraries are enough; a file another process holds
// open is tried three times, then counted as failed.
TEST(Staging, AtLeastTwoFilesMustBeStaged) {
  TempDirectoryManager workspace([](const std::wstring&, std::uint64_t& available) {
    available = 1ULL << 40;
    return true;
  });
  ASSERT_TRUE(workspace.Initialize(0, false));
  const auto staged = [&](const std::wstring& name) { return workspace.GetTavrinDirectory() + L"\\" + name; };
  // A read-only copy left by an earlier attempt is replaced.
  ASSERT_TRUE(WriteFileAt(staged(L"dorvid.dll"), "stale"));
  ::SetFileAttributesW(staged(L"dorvid.dll").c_str(), FILE_ATTRIBUTE_READONLY);
  const struct {
    bool firstLocked;
    bool enough;
    const wchar_t* summary;  // null: no version folder at all
    std::vector<std::wstring> names;
  } cases[] = {
      {false, true, L"Tavrin 文件复制完成: 成功 2 个，失败 0 个", {L"crellix_logger.dll", L"vantor.dll"}},
      {false, false, L"Tavrin 文件复制完成: 成功 1 个，失败 0 个", {L"tavrin_sdk.dll"}},
      {true, true, L"Tavrin 文件复制完成: 成功 2 个，失败 1 个", {L"tavrin_sdk.dll", L"dorvid.dll", L"vantor.dll"}},
      {false, false, nullptr, {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.names.size());
    TempDir installed;
    for (const auto& name : c.names) installed.WriteFile(L"1.0\\" + name, WideToUtf8(name));
    ChildProcess holder;
    if (c.firstLocked) holder = ChildProcess::HoldFile(installed.Child(L"1.0\\" + c.names[0]));
    LogCapture log;

    EXPECT_EQ(CopyTavrinFiles(workspace, installed.Child(L"1.0")), c.enough);
    for (size_t i = c.firstLocked ? 1 : 0; i < c.names.size(); ++i) {
      EXPECT_EQ(ReadFileBytes(staged(c.names[i])), WideToUtf8(c.names[i]));
    }
    EXPECT_EQ(log.Count(L"    CopyFile 失败，错误码: 32"), c.firstLocked ? 3u : 0u);
    EXPECT_TRUE(c.summary != nullptr ? log.Has(c.summary)
                                     : log.Has(L"[ERROR] 源 Tavrin 目录不存在: " + installed.Child(L"1.0")));
  }
}

// A copy refused once waits 100 ms before its second attempt; refused every
// time, 200 ms more before its third, and no more.
TEST(Staging, EachRetryOfACopyWaitsLongerThanTheOneBefore) {
  TempDirectoryManager workspace([](const std::wstring&, std::uint64_t& available) {
    available = 1ULL << 40;
    return true;
  });
  ASSERT_TRUE(workspace.Initialize(0, false));
  TempDir installed;
  installed.WriteFile(L"tavrin_sdk.dll");
  for (const auto& [refusals, waited] : {std::pair{1u, 100ull}, std::pair{0u, 300ull}}) {
    const ScopedFault denied{L"CopyFileW", ERROR_ACCESS_DENIED, refusals};
    (void)CopyTavrinFiles(workspace, installed.path());
    EXPECT_EQ(SleptMilliseconds(), waited) << refusals;
  }
}

}  // namespace
}  // namespace oru::test
