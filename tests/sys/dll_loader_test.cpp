#include "sys/dll_loader.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::LogCapture;

TEST(DllLoader, EmptyPathLoadsNothing) {
  LogCapture log;
  {
    DllLoader loader(L"");
    EXPECT_EQ(loader.module(), nullptr);
  }
  EXPECT_EQ(log.Lines(), std::vector<std::wstring>{L"DllLoader: DLL 名称为空"});
}

TEST(DllLoader, MissingFileLogsOneWarningWithTheSystemErrorAndNothingOnDestruction) {
  test::TempDir dir;
  const std::wstring path = dir.Child(L"absent.dll");
  LogCapture log;
  {
    DllLoader loader(path);
    EXPECT_EQ(loader.module(), nullptr);
  }
  // The system reports a missing module as 126 (ERROR_MOD_NOT_FOUND).
  EXPECT_EQ(log.Lines(), std::vector<std::wstring>{L"[WARNING] DllLoader: 加载 DLL 失败: " + path + L", 错误码: 126"});
}

TEST(DllLoader, LoadsAndFreesARealLibrary) {
  LogCapture log;
  {
    DllLoader loader(L"version.dll");
    EXPECT_NE(loader.module(), nullptr);
  }
  EXPECT_EQ(log.Lines(),
            (std::vector<std::wstring>{L"DllLoader: 成功加载 DLL: version.dll", L"DllLoader: 成功释放 DLL"}));
}

}  // namespace
}  // namespace oru
