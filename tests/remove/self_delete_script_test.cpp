#include "remove/self_delete_script.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::Exists;
using test::TempDir;

bool IsEmptyDirectory(const std::wstring& dir) {
  WIN32_FIND_DATAW entry{};
  HANDLE find = ::FindFirstFileW((dir + L"\\*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return false;
  bool empty = true;
  do {
    const std::wstring_view name = entry.cFileName;
    if (name != L"." && name != L"..") empty = false;
  } while (empty && ::FindNextFileW(find, &entry));
  ::FindClose(find);
  return empty;
}

TEST(NeedsSelfDeleteUninstall, OnlyUninstallFoldersInAnyCaseQualify) {
  struct Case {
    const char* name;
    std::vector<std::wstring> folders;
    std::vector<std::wstring> files;
    bool expected;
  };
  const Case cases[] = {
      {"lower case", {L"uninstall"}, {}, true},
      {"mixed case", {L"UnInstall"}, {}, true},
      {"empty directory", {}, {}, true},
      {"with a file", {L"uninstall"}, {L"left.log"}, false},
      {"with a second folder", {L"uninstall", L"1.0"}, {}, false},
      {"file named uninstall", {}, {L"uninstall"}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TempDir dir;
    for (const auto& folder : c.folders) dir.MakeDir(folder);
    for (const auto& file : c.files) dir.WriteFile(file);
    EXPECT_EQ(NeedsSelfDeleteUninstall(dir.path()), c.expected);
  }
  TempDir dir;
  EXPECT_FALSE(NeedsSelfDeleteUninstall(L""));
  EXPECT_FALSE(NeedsSelfDeleteUninstall(dir.Child(L"missing")));
}

// The same qualifying directory, named by 256 characters and by 257 (a
// trailing backslash the listing would accept): only the length differs.
TEST(NeedsSelfDeleteUninstall, PathOver256CharactersNeverQualifies) {
  TempDir dir;
  const size_t padding = 256 - dir.path().size() - 1;
  ASSERT_LT(padding, 256u);
  const std::wstring install = dir.MakeDir(std::wstring(padding, L'p'));
  ASSERT_EQ(install.size(), 256u);
  ASSERT_TRUE(::CreateDirectoryW((install + L"\\uninstall").c_str(), nullptr));
  EXPECT_TRUE(NeedsSelfDeleteUninstall(install));
  EXPECT_FALSE(NeedsSelfDeleteUninstall(install + L"\\"));
}

TEST(SelfDeleteScript, BytesAreUtf8WithBomCrLfAndSinglePercentSigns) {
  TempDir dir;
  const std::wstring script = SelfDeleteScriptPath(dir.path());
  EXPECT_EQ(script, dir.path() + L"\\_deldir.bat");
  ASSERT_TRUE(WriteSelfDeleteScript(script));
  EXPECT_EQ(test::ReadFileBytes(script),
            "\xEF\xBB\xBF"
            "@echo off\r\n"
            "timeout /t 2 /nobreak >nul\r\n"
            "cd /d %TEMP%\r\n"
            "rd /s /q \"%~1\"\r\n"
            "del \"%~f0\" >nul 2>nul\r\n");
}

TEST(SelfDeleteScript, IsOpenedHiddenWithTheQuotedDirectory) {
  const SelfDeleteLaunch launch = SelfDeleteScriptLaunch(L"C:\\Apps\\Oru");
  EXPECT_EQ(launch.verb, L"open");
  EXPECT_EQ(launch.file, L"C:\\Apps\\Oru\\_deldir.bat");
  EXPECT_EQ(launch.parameters, L"\"C:\\Apps\\Oru\"");
  EXPECT_EQ(launch.show, SW_HIDE);
}

// Wine keeps the emptied directory itself (its cmd holds the script open),
// so the proof is that everything inside it went.
TEST(SelfDeleteScript, RunningScriptEmptiesTheDirectory) {
  TempDir dir;
  const std::wstring install = dir.MakeDir(L"Oru stravo");
  dir.WriteFile(L"Oru stravo\\uninstall\\oru_uninstall.exe");
  test::LogCapture log;
  CreateAndRunSelfDeleteDirScript(install);
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{L"CreateAndRunSelfDeleteDirScript " + install}));
  for (int i = 0; i < 150 && !IsEmptyDirectory(install) && Exists(install); ++i) ::Sleep(100);
  EXPECT_FALSE(Exists(install + L"\\uninstall"));
  EXPECT_FALSE(Exists(install + L"\\_deldir.bat"));
}

}  // namespace
}  // namespace oru
