#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "common/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "workspace/component_staging.h"

namespace oru::test {
namespace {

// Any two of the five libraries are enough; a copy refused three times (a
// file in use) is counted as failed, one refused once is tried again.
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
  const std::wstring failed = L"    CopyFile 失败，错误码: 32", second = L"    重试复制文件 (第 2 次)...";
  const struct {
    std::vector<Fault> faults;  // on the first file's copy
    bool enough;
    const wchar_t* summary;  // null: no version folder at all
    std::vector<std::wstring> names, lines;
  } cases[] = {{{}, true, L"Tavrin 文件复制完成: 成功 2 个，失败 0 个", {L"crellix_logger.dll", L"vantor.dll"}, {}},
               {{}, false, L"Tavrin 文件复制完成: 成功 1 个，失败 0 个", {L"tavrin_sdk.dll"}, {}},
               {{{L"CopyFileW", 32, 0, L"tavrin_sdk.dll"}},
                true,
                L"Tavrin 文件复制完成: 成功 2 个，失败 1 个",
                {L"tavrin_sdk.dll", L"dorvid.dll", L"vantor.dll"},
                {failed, second, failed, L"    重试复制文件 (第 3 次)...", failed, L"[ERROR]   ✗ 复制失败"}},
               {{{L"CopyFileW", 32, 1}},
                true,
                L"Tavrin 文件复制完成: 成功 2 个，失败 0 个",
                {L"dorvid.dll", L"vantor.dll"},
                {failed, second, L"  ✓ 复制成功"}},
               {{}, false, nullptr, {}, {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.names.size());
    TempDir installed;
    for (const auto& name : c.names) installed.WriteFile(L"1.0\\" + name, WideToUtf8(name));
    const auto lines =
        LinesUnder(c.faults, [&] { EXPECT_EQ(CopyTavrinFiles(workspace, installed.Child(L"1.0")), c.enough); });
    for (size_t i = c.faults.empty() ? 0 : 1; i < c.names.size(); ++i) {
      EXPECT_EQ(ReadFileBytes(staged(c.names[i])), WideToUtf8(c.names[i]));
    }
    EXPECT_TRUE(LinesInOrder(lines, c.lines));
    EXPECT_TRUE(LinesInOrder(
        lines, {c.summary != nullptr ? c.summary : L"[ERROR] 源 Tavrin 目录不存在: " + installed.Child(L"1.0")}));
  }
}

}  // namespace
}  // namespace oru::test
