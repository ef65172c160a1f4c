#include "sys/dll_loader.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

// What loading logs, and that only a loaded library logs its release.
TEST(DllLoader, LoadsARealLibraryAndExplainsWhyNothingWasLoaded) {
  test::TempDir dir;
  const std::wstring absent = dir.Child(L"absent.dll");
  const struct {
    std::wstring path;
    bool loaded;
    std::vector<std::wstring> lines;
  } rows[] = {
      {L"", false, {L"DllLoader: DLL 名称为空"}},
      // The system reports a missing module as 126 (ERROR_MOD_NOT_FOUND).
      {absent, false, {L"[WARNING] DllLoader: 加载 DLL 失败: " + absent + L", 错误码: 126"}},
      {L"version.dll", true, {L"DllLoader: 成功加载 DLL: version.dll", L"DllLoader: 成功释放 DLL"}},
  };
  for (const auto& row : rows) {
    test::LogCapture log;
    {
      DllLoader loader(row.path);
      EXPECT_EQ(loader.module() != nullptr, row.loaded);
    }
    EXPECT_EQ(log.Lines(), row.lines);
  }
}

}  // namespace
}  // namespace oru
