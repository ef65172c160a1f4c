#include "remove/self_delete_script.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "inject/fault_injector.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "sys/child_process.h"
#include "sys/system_directory.h"

namespace oru::test {
namespace {

TEST(NeedsSelfDeleteUninstall, OnlyUninstallFoldersInAnyCaseUpTo256CharactersQualify) {
  // "name\" is a folder, anything else a file.
  const auto qualifies = [](std::initializer_list<std::wstring> entries) {
    TempDir dir;
    for (const std::wstring& entry : entries) entry.ends_with(L'\\') ? dir.MakeDir(entry) : dir.WriteFile(entry);
    return NeedsSelfDeleteUninstall(dir.path());
  };
  EXPECT_TRUE(qualifies({L"uninstall\\"}) && qualifies({L"UnInstall\\"}) && qualifies({}));
  EXPECT_FALSE(qualifies({L"uninstall\\", L"left.log"}) || qualifies({L"uninstall\\", L"1.0\\"}) ||
               qualifies({L"uninstall"}));
  // The same qualifying directory, named by 256 characters and by 257 (a
  // trailing backslash the listing would accept): only the length differs.
  TempDir dir;
  const std::wstring install = dir.MakeDir(std::wstring(256 - dir.path().size() - 1, L'p'));
  ASSERT_TRUE(install.size() == 256u && ::CreateDirectoryW((install + L"\\uninstall").c_str(), nullptr));
  EXPECT_TRUE(NeedsSelfDeleteUninstall(install));
  EXPECT_FALSE(NeedsSelfDeleteUninstall(install + L"\\"));
  // Nor does one whose listing breaks off before its end (a share gone away).
  const ScopedFault brokenOff{L"FindNextFileW", ERROR_NETNAME_DELETED, 1};
  EXPECT_FALSE(NeedsSelfDeleteUninstall(install));
}

// Running it is proven end to end, where Wine's cmd forgives what Windows'
// would not: here its bytes.
TEST(SelfDeleteScript, IsUtf8WithBomCrLfAndSinglePercentSigns) {
  TempDir dir;
  ASSERT_TRUE(WriteSelfDeleteScript(dir.Child(L"_deldir.bat")));
  EXPECT_EQ(ReadFileBytes(dir.Child(L"_deldir.bat")),
            "\xEF\xBB\xBF@echo off\r\ntimeout /t 2 /nobreak >nul\r\ncd /d \"%~2\"\r\n"
            "rd /s /q \"%~1\" & rd /s /q \"%~3\" & cd /d \"%~dp2\" & rd \"%~2\"\r\ndel \"%~f0\" >nul 2>nul\r\n");
  // Started by the system's cmd, which drops the outer quotes after /C; the
  // run's working folder is its second argument, its workspace the third.
  EXPECT_EQ(SelfDeleteCommandLine(L"C:\\a b\\_deldir.bat", L"C:\\a b", L"C:\\t\\w_cwd", L"C:\\t\\w"),
            L"\"" + SystemDirectoryFile(L"cmd.exe") +
                L"\" /D /V:OFF /C \"\"C:\\a b\\_deldir.bat\" \"C:\\a b\" \"C:\\t\\w_cwd\" \"C:\\t\\w\"\"");
  // A script that cannot be opened is neither written nor started, and says
  // nothing beyond its first line.
  ::DeleteFileW(dir.Child(L"_deldir.bat").c_str());
  EXPECT_EQ(LinesUnder({{L"_wfopen", ERROR_ACCESS_DENIED}},
                       [&] { EXPECT_FALSE(CreateAndRunSelfDeleteDirScript(dir.path(), dir.path())); }),
            std::vector<std::wstring>{L"CreateAndRunSelfDeleteDirScript " + dir.path()});
  EXPECT_FALSE(Exists(dir.Child(L"_deldir.bat")));
}

}  // namespace
}  // namespace oru::test
