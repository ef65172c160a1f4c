#include "sys/registry.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace oru {
namespace {

using test::LogCapture;

// Each test program works under a key of its own, so runs never collide.
class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    key_ = L"SOFTWARE\\OruRegistryTest_" + std::to_wstring(::GetCurrentProcessId());
    ::RegCreateKeyExW(HKEY_CURRENT_USER, key_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle_, nullptr);
  }
  void TearDown() override {
    ::RegCloseKey(handle_);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, key_.c_str());
  }
  void SetString(const wchar_t* name, const std::wstring& value) {
    ::RegSetValueExW(handle_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                     static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }

  std::wstring key_;
  HKEY handle_ = nullptr;
};

TEST_F(RegistryTest, ReadsUpTo259CharactersAndRejectsLongerValues) {
  const std::wstring fits(259, L'a');
  const std::wstring tooLong(260, L'b');
  SetString(L"fits", fits);
  SetString(L"long", tooLong);
  LogCapture log;

  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_, L"fits"), fits);
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_, L"long"), L"");
  EXPECT_TRUE(log.Has(L"Found pv value in registry: " + fits));
  EXPECT_TRUE(log.Has(L"Registry value is too long: long"));
}

TEST_F(RegistryTest, ReturnsRawBytesOfNonStringValuesUpToTheFirstZeroUnit) {
  const DWORD dword = 0x00410042;  // bytes 42 00 41 00: "BA"
  ::RegSetValueExW(handle_, L"dword", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dword), sizeof(dword));
  const wchar_t multi[] = L"one\0two\0";
  ::RegSetValueExW(handle_, L"multi", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(multi), sizeof(multi));
  ::RegSetValueExW(handle_, L"empty", 0, REG_SZ, nullptr, 0);

  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_, L"dword"), L"BA");
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_, L"multi"), L"one");
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_, L"empty"), L"");
}

TEST_F(RegistryTest, MissingKeyAndMissingValueAreLoggedDifferently) {
  LogCapture log;
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_ + L"\\absent", L"v"), L"");
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, key_, L"absent"), L"");
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"Failed to open registry key: " + key_ + L"\\absent",
                                                    L"Registry value not found: absent"}));
}

TEST_F(RegistryTest, DeletingATreeSucceedsOnceAndAMissingKeyIsAFailure) {
  HKEY child = nullptr;
  ::RegCreateKeyExW(handle_, L"child\\grandchild", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &child, nullptr);
  ::RegCloseKey(child);
  const std::wstring sub = key_ + L"\\child";
  LogCapture log;

  EXPECT_TRUE(DeleteRegistryTree(HKEY_CURRENT_USER, sub));
  EXPECT_FALSE(DeleteRegistryTree(HKEY_CURRENT_USER, sub));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"Successfully deleted registry key: " + sub,
                                                    L"Registry key not found: " + sub}));
}

TEST_F(RegistryTest, WriteLogsTheKeyPathThenTheValuePathWithResultTexts) {
  const std::wstring sub = key_ + L"\\created";
  const wchar_t data[] = L"C:\\x";
  const DWORD type = REG_SZ;
  const DWORD size = 8;  // four characters, no terminator
  LogCapture log;

  WriteRegistryValue(HKEY_CURRENT_USER, sub, nullptr, &type, reinterpret_cast<const BYTE*>(data), &size);
  WriteRegistryValue(HKEY_CURRENT_USER, sub, L"path", &type, reinterpret_cast<const BYTE*>(data), &size);

  const std::wstring keyPath = L"HKEY_CURRENT_USER\\" + sub;
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{keyPath + L"操作成功", keyPath + L"\\default操作成功",
                                                    keyPath + L"操作成功", keyPath + L"\\path操作成功"}));
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, sub, L"path"), L"C:\\x");
}

TEST(RegistryTexts, CreateAndSetTablesDifferOnlyWhereSetKnowsMore) {
  struct Row {
    LSTATUS code;
    std::wstring create;
    std::wstring set;
  };
  const Row rows[] = {
      {0, L"操作成功", L"操作成功"},
      {5, L"拒绝访问（权限不足）", L"拒绝访问（权限不足）"},
      {14, L"内存不足", L"内存不足"},
      {19, L"未知错误，错误码：19", L"介质为写保护状态"},
      {234, L"未知错误，错误码：234", L"缓冲区太小，数据未能完全写入"},
      {1013, L"未知错误，错误码：1013", L"无法写入注册表"},
      {1234, L"未知错误，错误码：1234", L"未知错误，错误码：1234"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(CreateKeyResultText(row.code), row.create) << row.code;
    EXPECT_EQ(SetValueResultText(row.code), row.set) << row.code;
  }
  EXPECT_EQ(RootKeyName(HKEY_CURRENT_CONFIG), L"HKEY_CURRENT_CONFIG");
  EXPECT_EQ(RootKeyName(HKEY_PERFORMANCE_DATA), L"Unknown HKEY");
}

}  // namespace
}  // namespace oru
