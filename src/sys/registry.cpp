#include "sys/registry.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"

namespace oru {
namespace {

constexpr DWORD kValueBufferBytes = 520;  // 260 UTF-16 units

struct ResultText {
  LSTATUS code;
  std::wstring_view createText;  // empty: the generic text
  std::wstring_view setText;
};

// The set table knows three codes more than the create table.
constexpr std::array<ResultText, 10> kResultTexts{{
    {0, L"操作成功", L"操作成功"},
    {2, L"找不到指定的注册表项", L"找不到指定的注册表项"},
    {5, L"拒绝访问（权限不足）", L"拒绝访问（权限不足）"},
    {6, L"无效的句柄", L"无效的句柄"},
    {8, L"内存不足", L"内存不足"},
    {14, L"内存不足", L"内存不足"},
    {19, L"", L"介质为写保护状态"},
    {87, L"无效的参数", L"无效的参数"},
    {234, L"", L"缓冲区太小，数据未能完全写入"},
    {1013, L"", L"无法写入注册表"},
}};

std::wstring GenericResultText(LSTATUS code) { return L"未知错误，错误码：" + ToWideDecimal(code); }

std::wstring ResultTextFor(LSTATUS code, std::wstring_view ResultText::*column) {
  const auto row = std::find_if(kResultTexts.begin(), kResultTexts.end(), [&](const ResultText& candidate) {
    return candidate.code == code && !(candidate.*column).empty();
  });
  return row != kResultTexts.end() ? std::wstring(row->*column) : GenericResultText(code);
}

}  // namespace

std::wstring CreateKeyResultText(LSTATUS code) { return ResultTextFor(code, &ResultText::createText); }

std::wstring SetValueResultText(LSTATUS code) { return ResultTextFor(code, &ResultText::setText); }

std::wstring RootKeyName(HKEY root) {
  if (root == HKEY_CLASSES_ROOT) return L"HKEY_CLASSES_ROOT";
  if (root == HKEY_CURRENT_USER) return L"HKEY_CURRENT_USER";
  if (root == HKEY_LOCAL_MACHINE) return L"HKEY_LOCAL_MACHINE";
  if (root == HKEY_USERS) return L"HKEY_USERS";
  if (root == HKEY_CURRENT_CONFIG) return L"HKEY_CURRENT_CONFIG";
  return L"Unknown HKEY";
}

std::wstring ReadRegistryString(HKEY root, const std::wstring& sub_key, const std::wstring& value_name) {
  UniqueRegKey key;
  if (::RegOpenKeyExW(root, sub_key.c_str(), 0, KEY_READ, key.put()) != ERROR_SUCCESS) {
    LogInfo(L"Failed to open registry key: " + sub_key);
    return {};
  }
  // One extra unit past the buffer the query may fill keeps the text
  // terminated even when a value uses all 520 bytes without a NUL.
  wchar_t buffer[kValueBufferBytes / sizeof(wchar_t) + 1] = {};
  DWORD size = kValueBufferBytes;
  const LSTATUS status =
      ::RegQueryValueExW(key.get(), value_name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size);
  if (status != ERROR_SUCCESS) {
    if (status == ERROR_FILE_NOT_FOUND) {
      LogInfo(L"Registry value not found: " + value_name);
    } else if (status == ERROR_MORE_DATA) {
      LogInfo(L"Registry value is too long: " + value_name);
    } else {
      LogInfo(L"Failed to query registry value: " + value_name);
    }
    return {};
  }
  key.reset();
  // Whatever value was read, the line names pv: the wording is fixed.
  LogInfo(std::wstring(L"Found pv value in registry: ") + buffer);
  return buffer;
}

bool DeleteRegistryTree(HKEY root, const std::wstring& sub_key) {
  const LSTATUS status = ::RegDeleteTreeW(root, sub_key.c_str());
  if (status == ERROR_SUCCESS) {
    LogInfo(L"Successfully deleted registry key: " + sub_key);
    return true;
  }
  if (status == ERROR_FILE_NOT_FOUND) {
    LogInfo(L"Registry key not found: " + sub_key);
    return false;
  }
  LogInfo(JoinWide({L"Failed to delete registry key: ", sub_key, L", error code: ", ToWideDecimal(status)}));
  return false;
}

void WriteRegistryValue(HKEY root, const std::wstring& sub_key, const wchar_t* value_name, const DWORD* type,
                        const BYTE* data, const DWORD* size) {
  UniqueRegKey key;
  const LSTATUS created = ::RegCreateKeyExW(root, sub_key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                                            nullptr, key.put(), nullptr);
  const std::wstring keyPath = RootKeyName(root) + L"\\" + sub_key;
  LogInfo(keyPath + CreateKeyResultText(created));
  if (created != ERROR_SUCCESS) return;
  const LSTATUS set = ::RegSetValueExW(key.get(), value_name, 0, *type, data, *size);
  key.reset();
  LogInfo(JoinWide({keyPath, L"\\", value_name != nullptr ? value_name : L"default", SetValueResultText(set)}));
}

}  // namespace oru
