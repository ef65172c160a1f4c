#include "log/setup_logger.h"

#include <gtest/gtest.h>

#include <regex>

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

TEST(SetupLogger, AnEarlierRunsFileIsTruncatedNotAppended) {
  TempDir dir;
  dir.WriteFile(L"run.log", "left over from an earlier run\n");
  SetupLogger::Instance().InitLog(dir.path(), L"run.log");
  EXPECT_EQ(ReadFileBytes(dir.Child(L"run.log")), kHeaderBytes);
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
