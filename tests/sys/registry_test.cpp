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

}  // namespace
}  // namespace oru::test
