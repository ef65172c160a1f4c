#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "common/strings.h"
#include "inject/fault_injector.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "workspace/component_staging.h"

namespace oru::test {
namespace {

// Any two of the five libraries are enough; a copy refused three times (a
// file in use) is counted as failed, one refused once is tried again.
TEST(Staging, AtLeastTwoFilesMustBeStaged) {
  TempDirectoryManager workspace;
  ASSERT_TRUE(workspace.Initialize(0, false));
  const auto staged = [&](const std::wstring& name) { return workspace.GetTavrinDirectory() + L"\\" + name; };
  // A read-only copy left by an earlier attempt is replaced.
  ASSERT_TRUE(WriteFileAt(staged(L"dorvid.dll"), "stale"));
  ::SetFileAttributesW(staged(L"dorvid.dll").c_str(), FILE_ATTRIBUTE_READONLY);
  const std::wstring failed = L"    CopyFile 失败，错误码: 32", second = L"    重试复制文件 (第 2 次)...";
  // `faults` fall on the first file's copy; the summary's last words, the
  // counts, close `lines`.
  const auto row = [&](const std::vector<Fault>& faults, bool enough, const std::vector<std::wstring>& names,
                       std::vector<std::wstring> lines) {
    TempDir installed;
    for (const auto& name : names) installed.WriteFile(L"1.0\\" + name, WideToUtf8(name));
    if (names.empty()) lines.back() += installed.Child(L"1.0");
    const auto logged =
        LinesUnder(faults, [&] { EXPECT_EQ(CopyTavrinFiles(workspace, installed.Child(L"1.0")), enough); });
    for (size_t i = faults.empty() ? 0 : 1; i < names.size(); ++i) {
      EXPECT_EQ(ReadFileBytes(staged(names[i])), WideToUtf8(names[i]));
    }
    EXPECT_TRUE(LinesInOrder(logged, lines));
  };
  const std::wstring copied = L"Tavrin 文件复制完成: 成功 ";
  row({}, true, {L"crellix_logger.dll", L"vantor.dll"}, {copied + L"2 个，失败 0 个"});
  row({}, false, {L"tavrin_sdk.dll"}, {copied + L"1 个，失败 0 个"});
  row({{L"CopyFileW", 32, 0, L"tavrin_sdk.dll"}}, true, {L"tavrin_sdk.dll", L"dorvid.dll", L"vantor.dll"},
      {failed, second, failed, L"    重试复制文件 (第 3 次)...", failed, L"[ERROR]   ✗ 复制失败",
       copied + L"2 个，失败 1 个"});
  row({{L"CopyFileW", 32, 1}}, true, {L"dorvid.dll", L"vantor.dll"},
      {failed, second, L"  ✓ 复制成功", copied + L"2 个，失败 0 个"});
  row({}, false, {}, {L"[ERROR] 源 Tavrin 目录不存在: "});
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
