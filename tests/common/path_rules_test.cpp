#include "common/path_rules.h"

#include <gtest/gtest.h>

namespace oru::test {
namespace {

TEST(PathRules, NormalFormAndWholeSegmentComparison) {
  EXPECT_EQ(NormalizePath(L"C:/Users/me/AppData/Local/Oru.stravo/Application/"),
            L"C:\\Users\\me\\AppData\\Local\\Oru.stravo\\Application");
  EXPECT_EQ(NormalizePath(L"C:\\a\\\\//"), L"C:\\a");
  EXPECT_EQ(NormalizePath(L"\\\\"), L"");
  EXPECT_TRUE(IsSameOrInside(L"C:\\Users\\Me", L"c:\\users\\me") && IsSameOrInside(L"C:\\Users\\me\\x", L"C:\\Users"));
  EXPECT_FALSE(IsSameOrInside(L"C:\\Users\\meister", L"C:\\Users\\me") ||
               IsSameOrInside(L"C:\\Users", L"C:\\Users\\me") || IsSameOrInside(L"C:\\a", L""));
}

TEST(PathRules, OnlyAbsoluteLocalPathsWithPlainSegmentsPass) {
  for (const wchar_t* path :
       {L"C:\\a", L"c:\\Users\\me\\AppData\\Local\\Oru.stravo\\Application", L"D:\\x y\\1.0 (2)\\%TEMP%"}) {
    EXPECT_TRUE(AbsoluteLocalPathRefusal(path).empty()) << path;
  }
  // Relative or without a drive; with dot, empty or altered segments; device and network paths.
  const auto refused = [](std::initializer_list<const wchar_t*> paths) {
    for (const wchar_t* path : paths) EXPECT_FALSE(AbsoluteLocalPathRefusal(path).empty()) << path;
  };
  refused({L"", L".", L"..", L"..\\x", L"\\Users\\me", L"C:", L"C:relative", L"1:\\a", L"Oru.stravo\\Application"});
  refused({L"C:\\a\\..\\b", L"C:\\a\\.\\b", L"C:\\a\\\\b", L"C:\\a\\..", L"C:\\Documents.", L"C:\\Documents ",
           L"C:\\a:stream", L"C:\\a\\*", L"C:\\a\\b?"});
  refused({L"\\\\?\\C:\\a", L"\\\\.\\C:\\a", L"\\\\server\\share\\a"});
  for (const wchar_t* name : {L"1.4.2.7", L"v 2", L".hidden"}) EXPECT_TRUE(IsPlainFolderName(name)) << name;
  for (const wchar_t* name : {L"", L".", L"..", L"a\\b", L"a/b", L"..\\..\\Other", L"x:y", L"*", L"a?", L"\"a\"",
                              L"<a>", L"a|b", L"1.0.", L"1.0 ", L"a\tb"}) {
    EXPECT_FALSE(IsPlainFolderName(name)) << name;
  }
}

// Only absolute paths without dot segments or forward slashes get the
// extended form; a path already in a device form keeps its own.
TEST(PathRules, ExtendedLengthFormOnlyForAbsolutePathsWithoutDotSegments) {
  for (const std::wstring path : {L"C:\\a\\nul", L"c:\\a\\name. \\aux.txt", L"C:\\"}) {
    EXPECT_EQ(ExtendedLengthPath(path), L"\\\\?\\" + path);
  }
  EXPECT_EQ(ExtendedLengthPath(L"\\\\server\\share\\a"), L"\\\\?\\UNC\\server\\share\\a");
  for (const wchar_t* same : {L"\\\\?\\C:\\a", L"\\\\.\\C:\\a", L"C:\\a\\..\\b", L"C:\\a\\.", L"C:\\Temp\\\\oru_del_1",
                              L"C:/a/b", L"C:a", L"a\\b", L""}) {
    EXPECT_EQ(ExtendedLengthPath(same), same);
  }
}

}  // namespace
}  // namespace oru::test
