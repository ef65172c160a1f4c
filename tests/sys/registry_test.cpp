#include "sys/registry.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace oru::test {
namespace {

// Every outcome is one line: each code a write may get, in the create and the
// set table's texts; each failure of a read and of a deletion.
TEST(RegistryTest, EveryOutcomeIsTheLineOfItsTable) {
  // A key of this test program's own, so that runs never collide.
  const std::wstring top = L"SOFTWARE\\OruRegistryTest_" + std::to_wstring(::GetCurrentProcessId()),
                     key = top + L"\\inner", path = L"HKEY_CURRENT_USER\\" + key;
  const wchar_t data[] = L"C:\\x";
  const DWORD type = REG_SZ, size = 8;  // four characters, no terminator
  const auto row = [](const std::vector<Fault>& faults, const std::function<void()>& call,
                      const std::vector<std::wstring>& lines) { EXPECT_EQ(LinesUnder(faults, call), lines); };
  const auto write = [&](const wchar_t* name) {
    return [&, name] {
      WriteRegistryValue(HKEY_CURRENT_USER, key, name, &type, reinterpret_cast<const BYTE*>(data), &size);
    };
  };
  row({}, write(nullptr), {path + L"操作成功", path + L"\\default操作成功"});
  row({}, write(L"v"), {path + L"操作成功", path + L"\\v操作成功"});
  const auto texts = [&](unsigned long code, const std::wstring& create, const std::wstring& set) {
    row({{L"RegCreateKeyExW", code}}, write(L"v"), {path + create});
    row({{L"RegSetValueExW", code}}, write(L"v"), {path + L"操作成功", path + L"\\v" + set});
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
  const auto read = [&](const wchar_t* value) {
    return [&, value] { EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key, L"v"), value); };
  };
  row({}, read(L"C:\\x"), {L"Found pv value in registry: C:\\x"});
  row({{L"RegOpenKeyExW", 5}}, read(L""), {L"Failed to open registry key: " + key});
  row({{L"RegQueryValueExW", 2}}, read(L""), {L"Registry value not found: v"});
  row({{L"RegQueryValueExW", 5}}, read(L""), {L"Failed to query registry value: v"});
  const auto remove = [&](bool removed) {
    return [&, removed] { EXPECT_EQ(DeleteRegistryTree(HKEY_CURRENT_USER, top), removed); };
  };
  row({{L"RegDeleteTreeW", 5}}, remove(false), {L"Failed to delete registry key: " + top + L", error code: 5"});
  row({}, remove(true), {L"Successfully deleted registry key: " + top});
  row({}, remove(false), {L"Registry key not found: " + top});
}

}  // namespace
}  // namespace oru::test
