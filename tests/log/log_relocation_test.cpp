#include "log/log_relocation.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <optional>
#include <regex>
#include <string>

#include "common/unique_handle.h"
#include "inject/fault_injector.h"
#include "log/setup_logger.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru::test {
namespace {

constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr char kFileHeader[] = "=== ORU Setup Log ===\n";
// LF, the session header with its timestamp (which ends in a blank), LF.
constexpr char kSessionHeader[] = R"(\n========== New Session: \d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} ==========\n)";
constexpr char kLine[] = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";

// One run's log of one line, relocated at its close.
LogPlacement RunLog(
    const std::wstring& runDirectory, const std::wstring& finalDirectory, const std::wstring& line,
    const std::function<void()>& beforeClose = [] {}) {
  auto& logger = SetupLogger::Instance();
  logger.InitLog(runDirectory, L"oru_uninstall.log");
  logger.SetFinalLogPath(finalDirectory);
  LogInfo(line);
  beforeClose();
  return CloseLogFile();
}

// Each run appends to the one log beside the executable under a session
// header; of the run's log only a byte-order mark at its start is dropped.
TEST(LogRelocationTest, RunsAppendToOneLogBesideTheExecutable) {
  TempDir temp, executable;
  const std::wstring finalLog = executable.Child(L"oru_uninstall.log");

  EXPECT_EQ(RunLog(temp.path(), executable.path(), L"first run").path, finalLog);
  const LogPlacement second = RunLog(temp.path(), executable.path(), L"second run");
  EXPECT_TRUE(second.moved);
  EXPECT_EQ(second.path, finalLog);
  EXPECT_FALSE(Exists(temp.Child(L"oru_uninstall.log")));
  ASSERT_TRUE(AppendLogToExisting(temp.WriteFile(L"run.log", "abcdef\n"), finalLog));
  EXPECT_FALSE(Exists(temp.Child(L"run.log")));

  const std::string expected = std::string(kBom) + kFileHeader + kLine + "first run\n" + kSessionHeader + kFileHeader +
                               kLine + "second run\n" + kSessionHeader + "abcdef\n";
  const std::string content = ReadFileBytes(finalLog);
  EXPECT_TRUE(std::regex_match(content, std::regex(expected))) << content;
}

// A log that cannot go where it should stays; one held open without delete
// sharing is copied; one that a full disk keeps from an earlier run's stays,
// the earlier one as it was. The answer is what the registry records.
TEST(LogRelocationTest, TheAnswerNamesWhereTheLogReallyIs) {
  TempDir temp, executable, held, full;
  const LogPlacement kept = RunLog(temp.path(), executable.WriteFile(L"blocked") + L"\\final", L"kept line");
  EXPECT_FALSE(kept.moved);
  EXPECT_EQ(kept.path, temp.Child(L"oru_uninstall.log"));
  EXPECT_NE(ReadFileBytes(kept.path).find("kept line\n"), std::string::npos);

  UniqueFile reader;
  const LogPlacement copied = RunLog(held.path(), executable.path(), L"copied line", [&] {
    reader.reset(::CreateFileW(held.Child(L"oru_uninstall.log").c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
  });
  ASSERT_TRUE(reader);
  EXPECT_EQ(copied.path, executable.Child(L"oru_uninstall.log"));
  EXPECT_NE(ReadFileBytes(copied.path).find("copied line\n"), std::string::npos);

  const std::string earlier = ReadFileBytes(copied.path);
  std::optional<ScopedFault> diskFull;
  const LogPlacement failed = RunLog(full.path(), executable.path(), L"appended line",
                                     [&] { diskFull.emplace(L"WriteFile", ERROR_DISK_FULL); });
  diskFull.reset();
  EXPECT_FALSE(failed.moved);
  EXPECT_EQ(failed.path, full.Child(L"oru_uninstall.log"));
  EXPECT_NE(ReadFileBytes(failed.path).find("appended line\n"), std::string::npos);
  EXPECT_EQ(ReadFileBytes(copied.path), earlier);
}

}  // namespace
}  // namespace oru::test
