#include "sys/registry.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace oru::test {
namespace {

// Each test program works under a key of its own, so runs never collide.
std::wstring TestKey() { return L"SOFTWARE\\OruRegistryTest_" + std::to_wstring(::GetCurrentProcessId()); }

// Writing creates the missing keys on the way; deleting takes the whole tree.
TEST(RegistryTest, WritesLogTheKeyThenTheValueAndATreeIsDeletedOnce) {
  const std::wstring sub = TestKey() + L"\\created", inner = sub + L"\\inner";
  const wchar_t data[] = L"C:\\x";
  const DWORD type = REG_SZ, size = 8;  // four characters, no terminator
  LogCapture log;

  WriteRegistryValue(HKEY_CURRENT_USER, inner, nullptr, &type, reinterpret_cast<const BYTE*>(data), &size);
  WriteRegistryValue(HKEY_CURRENT_USER, inner, L"path", &type, reinterpret_cast<const BYTE*>(data), &size);
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, inner, L"path"), L"C:\\x");
  EXPECT_TRUE(DeleteRegistryTree(HKEY_CURRENT_USER, sub));
  EXPECT_FALSE(DeleteRegistryTree(HKEY_CURRENT_USER, sub));

  const std::wstring keyPath = L"HKEY_CURRENT_USER\\" + inner;
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{
                             keyPath + L"操作成功", keyPath + L"\\default操作成功", keyPath + L"操作成功",
                             keyPath + L"\\path操作成功", L"Found pv value in registry: C:\\x",
                             L"Successfully deleted registry key: " + sub, L"Registry key not found: " + sub}));
  ::RegDeleteTreeW(HKEY_CURRENT_USER, TestKey().c_str());
}

// Every code the system may answer with, in the texts of the create and the
// set tables; then each failure of a read and of a deletion, on a key and a
// value that are there.
TEST(RegistryTest, EachFailureIsTheLineOfItsTable) {
  const std::wstring key = TestKey(), path = L"HKEY_CURRENT_USER\\" + key;
  const DWORD type = REG_SZ, size = 2;
  const auto write = [&] {
    WriteRegistryValue(HKEY_CURRENT_USER, key, L"v", &type, reinterpret_cast<const BYTE*>(L"x"), &size);
  };
  const auto texts = [&](unsigned long code, const std::wstring& create, const std::wstring& set) {
    EXPECT_EQ(LinesUnder({{L"RegCreateKeyExW", code}}, write), std::vector<std::wstring>{path + create});
    EXPECT_EQ(LinesUnder({{L"RegSetValueExW", code}}, write),
              (std::vector<std::wstring>{path + L"操作成功", path + L"\\v" + set}));
  };
  texts(2, L"找不到指定的注册表项", L"找不到指定的注册表项");
  texts(5, L"拒绝访问（权限不足）", L"拒绝访问（权限不足）");
  texts(6, L"无效的句柄", L"无效的句柄");
  texts(8, L"内存不足", L"内存不足");
  texts(14, L"内存不足", L"内存不足");
  texts(19, L"未知错误，错误码：19", L"介质为写保护状态");
  texts(87, L"无效的参数", L"无效的参数");
  texts(234, L"未知错误，错误码：234", L"缓冲区太小，数据未能完全写入");
  texts(1013, L"未知错误，错误码：1013", L"无法写入注册表");
  texts(50, L"未知错误，错误码：50", L"未知错误，错误码：50");
  const auto read = [&] { EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key, L"v"), L""); };
  const auto row = [](const Fault& fault, const std::function<void()>& call, const std::wstring& line) {
    EXPECT_EQ(LinesUnder({fault}, call), std::vector<std::wstring>{line});
  };
  row({L"RegOpenKeyExW", 5}, read, L"Failed to open registry key: " + key);
  row({L"RegQueryValueExW", 2}, read, L"Registry value not found: v");
  row({L"RegQueryValueExW", 5}, read, L"Failed to query registry value: v");
  row(
      {L"RegDeleteTreeW", 5}, [&] { EXPECT_FALSE(DeleteRegistryTree(HKEY_CURRENT_USER, key)); },
      L"Failed to delete registry key: " + key + L", error code: 5");
  EXPECT_TRUE(DeleteRegistryTree(HKEY_CURRENT_USER, key));
}

}  // namespace
}  // namespace oru::test
