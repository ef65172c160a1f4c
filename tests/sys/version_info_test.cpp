#include "sys/version_info.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/test_paths.h"
#include "sys/dll_loader.h"
#include "sys/system_directory.h"

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

// The system's version through ntdll.dll, loaded and freed for the query;
// each step that fails gives its line and -1, the own version "unknown".
TEST(VersionInfo, TheSystemsVersionAndEachWayItsQueryFails) {
  const std::wstring ntdll = SystemDirectoryFile(L"ntdll.dll");
  EXPECT_EQ(LinesUnder({}, [] { EXPECT_EQ(GetOsVersionPart(0), 10); }),
            (std::vector<std::wstring>{L"DllLoader: 成功加载 DLL: " + ntdll, L"dwMajorVersion: 10",
                                       L"DllLoader: 成功释放 DLL"}));
  EXPECT_TRUE(LinesInOrder(LinesUnder({}, [] { EXPECT_EQ(GetOsVersionPart(3), -1); }), {L"DllLoader: 成功释放 DLL"}));
  const auto row = [](const Fault& fault, const std::function<void()>& call, const std::vector<std::wstring>& lines) {
    EXPECT_TRUE(LinesInOrder(LinesUnder({fault}, call), lines));
  };
  const auto failed = [] { EXPECT_EQ(GetOsVersionPart(2), -1); };
  row({L"LoadLibraryExW", 126, 0, L"ntdll"}, failed,
      {L"[WARNING] DllLoader: 加载 DLL 失败: " + ntdll + L", 错误码: 126", L"Failed to load ntdll.dll"});
  row({L"GetProcAddress", 127, 0, L"RtlGetVersion"}, failed, {L"Failed to get RtlGetVersion function"});
  row({L"FreeLibrary", 5}, [] { EXPECT_GT(GetOsVersionPart(1), -1); },
      {L"[WARNING] DllLoader: 释放 DLL 失败, 错误码: 5"});
  row({L"GetModuleFileNameW", 5}, [] { EXPECT_EQ(GetOwnProductVersion(), "unknown"); },
      {L"[WARNING] GetModuleFileName failed"});
  // An empty name is not even tried.
  row({L"LoadLibraryExW", 5}, [] { EXPECT_EQ(DllLoader(L"").module(), nullptr); }, {L"DllLoader: DLL 名称为空"});
}

}  // namespace
}  // namespace oru::test
