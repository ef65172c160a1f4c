#include "common/path_rules.h"

#include <gtest/gtest.h>

namespace oru::test {
namespace {

TEST(PathRules, NormalFormTurnsSlashesAndDropsTrailingSeparators) {
  EXPECT_EQ(NormalizePath(L"C:/Users/me/AppData/Local/Oru.stravo/Application/"),
            L"C:\\Users\\me\\AppData\\Local\\Oru.stravo\\Application");
  EXPECT_EQ(NormalizePath(L"C:\\a\\\\//"), L"C:\\a");
  EXPECT_EQ(NormalizePath(L"\\\\"), L"");
}

TEST(PathRules, OnlyAbsoluteLocalPathsWithPlainSegmentsPass) {
  for (const wchar_t* path :
       {L"C:\\a", L"c:\\Users\\me\\AppData\\Local\\Oru.stravo\\Application", L"D:\\x y\\1.0 (2)\\%TEMP%"}) {
    EXPECT_TRUE(AbsoluteLocalPathRefusal(path).empty()) << path;
  }
  const auto refused = [](std::initializer_list<const wchar_t*> paths) {
    for (const wchar_t* path : paths) EXPECT_FALSE(AbsoluteLocalPathRefusal(path).empty()) << path;
  };
  // Relative or without a drive; with dot, empty or altered segments; device and network paths.
  refused({L"", L".", L"..", L"..\\x", L"\\Users\\me", L"C:", L"C:relative", L"1:\\a", L"Oru.stravo\\Application"});
  refused({L"C:\\a\\..\\b", L"C:\\a\\.\\b", L"C:\\a\\\\b", L"C:\\a\\..", L"C:\\Documents.", L"C:\\Documents ",
           L"C:\\a:stream", L"C:\\a\\*", L"C:\\a\\b?"});
  refused({L"\\\\?\\C:\\a", L"\\\\.\\C:\\a", L"\\\\server\\share\\a"});
}

TEST(PathRules, PlainFolderNames) {
  for (const wchar_t* name : {L"1.4.2.7", L"v 2", L".hidden"}) EXPECT_TRUE(IsPlainFolderName(name)) << name;
  for (const wchar_t* name : {L"", L".", L"..", L"a\\b", L"a/b", L"..\\..\\Other", L"x:y", L"*", L"a?", L"\"a\"",
                              L"<a>", L"a|b", L"1.0.", L"1.0 ", L"a\tb"}) {
    EXPECT_FALSE(IsPlainFolderName(name)) << name;
  }
}

TEST(PathRules, ExtendedLengthFormOnlyForAbsolutePathsWithoutDotSegments) {
  const struct {
    const wchar_t* path;
    const wchar_t* extended;
  } rows[] = {
      {L"C:\\a\\nul", L"\\\\?\\C:\\a\\nul"},
      {L"c:\\a\\name. \\aux.txt", L"\\\\?\\c:\\a\\name. \\aux.txt"},
      {L"C:\\", L"\\\\?\\C:\\"},
      {L"\\\\server\\share\\a", L"\\\\?\\UNC\\server\\share\\a"},
      {L"\\\\?\\C:\\a", L"\\\\?\\C:\\a"},
      {L"\\\\.\\C:\\a", L"\\\\.\\C:\\a"},
      {L"C:\\a\\..\\b", L"C:\\a\\..\\b"},
      {L"C:\\a\\.", L"C:\\a\\."},
      {L"C:\\Temp\\\\oru_del_1", L"C:\\Temp\\\\oru_del_1"},
      {L"C:/a/b", L"C:/a/b"},
      {L"C:a", L"C:a"},
      {L"a\\b", L"a\\b"},
      {L"", L""},
  };
  for (const auto& row : rows) EXPECT_EQ(ExtendedLengthPath(row.path), row.extended) << row.path;
}

TEST(PathRules, SameOrInsideComparesWholeSegmentsIgnoringCase) {
  EXPECT_TRUE(IsSameOrInside(L"C:\\Users\\Me", L"c:\\users\\me"));
  EXPECT_TRUE(IsSameOrInside(L"C:\\Users\\me\\Documents", L"C:\\Users"));
  EXPECT_FALSE(IsSameOrInside(L"C:\\Users\\meister", L"C:\\Users\\me"));
  EXPECT_FALSE(IsSameOrInside(L"C:\\Users", L"C:\\Users\\me"));
  EXPECT_FALSE(IsSameOrInside(L"C:\\a", L""));
}

}  // namespace
}  // namespace oru::test
