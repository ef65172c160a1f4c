#include "common/strings.h"

#include <gtest/gtest.h>

namespace oru {
namespace {

TEST(Strings, Utf8RoundTripKeepsChineseAndEmoji) {
  const std::wstring text = L"卸载 ✅ \U0001F600 C:\\Program Files";
  const std::string utf8 = WideToUtf8(text);
  EXPECT_EQ(utf8, "\xE5\x8D\xB8\xE8\xBD\xBD \xE2\x9C\x85 \xF0\x9F\x98\x80 C:\\Program Files");
  EXPECT_EQ(Utf8ToWide(utf8), text);
  EXPECT_EQ(WideToUtf8(L""), "");
  EXPECT_EQ(Utf8ToWide(""), L"");
}

TEST(Strings, FileNamePartUsesOnlyBackslash) {
  EXPECT_EQ(FileNamePart(L"C:\\a\\b.log"), L"b.log");
  EXPECT_EQ(FileNamePart(L"C:/a/b.log"), L"C:/a/b.log");
  EXPECT_EQ(FileNamePart(L""), L"");
}

}  // namespace
}  // namespace oru
