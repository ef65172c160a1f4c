#include "log/setup_logger.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <regex>
#include <vector>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::Exists;
using test::ReadFileBytes;
using test::TempDir;

constexpr char kHeaderBytes[] = "\xEF\xBB\xBF=== ORU Setup Log ===\n";

TEST(SetupLogger, FileHoldsBomHeaderAndOneTimestampedUtf8LinePerMessage) {
  TempDir dir;
  auto& logger = SetupLogger::Instance();
  logger.InitLog(dir.path(), L"run.log");
  LogInfo(L"plain line");
  LogWarning(L"careful");
  LogError(L"卸载失败");

  const std::string bytes = ReadFileBytes(dir.Child(L"run.log"));
  ASSERT_EQ(bytes.rfind(kHeaderBytes, 0), 0u) << bytes;
  const std::string stamp = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} )";
  const std::regex expected(std::string("\xEF\xBB\xBF=== ORU Setup Log ===\n") + stamp + "plain line\n" + stamp +
                            R"(\[WARNING\] careful\n)" + stamp +
                            "\\[ERROR\\] \xE5\x8D\xB8\xE8\xBD\xBD\xE5\xA4\xB1\xE8\xB4\xA5\n");
  EXPECT_TRUE(std::regex_match(bytes, expected)) << bytes;
  EXPECT_EQ(bytes.find('\r'), std::string::npos);
}

TEST(SetupLogger, SecondInitKeepsTheFirstFileOpen) {
  TempDir first;
  TempDir second;
  auto& logger = SetupLogger::Instance();
  logger.InitLog(first.path(), L"a.log");
  logger.InitLog(second.path(), L"b.log");
  LogInfo(L"after second init");

  EXPECT_FALSE(Exists(second.Child(L"b.log")));
  EXPECT_NE(ReadFileBytes(first.Child(L"a.log")).find(" after second init\n"), std::string::npos);
}

TEST(SetupLogger, LinesBeforeInitAndAfterCloseNeverReachTheFile) {
  TempDir dir;
  auto& logger = SetupLogger::Instance();
  LogInfo(L"too early");
  logger.InitLog(dir.path(), L"run.log");
  LogInfo(L"in time");
  logger.CloseLogFile();
  LogInfo(L"too late");

  const std::string bytes = ReadFileBytes(dir.Child(L"run.log"));
  EXPECT_EQ(bytes.find("too early"), std::string::npos);
  EXPECT_NE(bytes.find("in time"), std::string::npos);
  EXPECT_EQ(bytes.find("too late"), std::string::npos);
}

// A file already there may be a link to anything: it is never opened for
// writing, neither emptied nor appended to.
TEST(SetupLogger, AnExistingFileIsNeverOpened) {
  TempDir dir;
  dir.WriteFile(L"run.log", "left over from an earlier run\n");
  EXPECT_FALSE(SetupLogger::Instance().InitLog(dir.path(), L"run.log"));
  LogInfo(L"not written");
  EXPECT_EQ(ReadFileBytes(dir.Child(L"run.log")), "left over from an earlier run\n");
}

// The run-time log folder is shared by every run: an earlier run's log there
// keeps its content under a name of its own, and this run starts afresh.
TEST(SetupLogger, AnEarlierRunsLogIsRenamedAsideNotEmptied) {
  wchar_t temp[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temp);
  const std::wstring name = L"leftover_" + std::to_wstring(::GetCurrentProcessId()) + L".log";
  const std::wstring folder = std::wstring(temp) + L"OruSetupLogs";
  ::CreateDirectoryW(folder.c_str(), nullptr);
  TempDir scratch;
  const std::wstring earlier = scratch.WriteFile(L"earlier.log", "the earlier run\n");
  ASSERT_TRUE(::MoveFileW(earlier.c_str(), (folder + L"\\" + name).c_str()));

  InitSetupLog(name);
  LogInfo(L"this run");
  CloseLogFile();

  std::vector<std::wstring> aside;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::wstring file = entry.path().filename().wstring();
    if (file.starts_with(name + L".") && file.ends_with(L".old")) aside.push_back(entry.path().wstring());
  }
  ASSERT_EQ(aside.size(), 1u);
  EXPECT_EQ(ReadFileBytes(aside[0]), "the earlier run\n");
  const std::string fresh = ReadFileBytes(folder + L"\\" + name);
  EXPECT_EQ(fresh.rfind(kHeaderBytes, 0), 0u);
  EXPECT_NE(fresh.find("this run"), std::string::npos);
  for (const std::wstring& path : {aside[0], folder + L"\\" + name}) ::DeleteFileW(path.c_str());
}

TEST(SetupLogger, MissingDirectoryLeavesTheLoggerClosedAndHarmless) {
  TempDir dir;
  auto& logger = SetupLogger::Instance();
  logger.InitLog(dir.Child(L"no\\such\\dir"), L"run.log");
  LogInfo(L"nowhere to go");
  // A later init still works: the failed one did not count as initialised.
  logger.InitLog(dir.path(), L"run.log");
  LogInfo(L"now logged");
  EXPECT_NE(ReadFileBytes(dir.Child(L"run.log")).find("now logged"), std::string::npos);
}

}  // namespace
}  // namespace oru
