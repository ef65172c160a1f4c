#include "log/log_relocation.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <regex>
#include <string>

#include "common/unique_handle.h"
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

// One run of the uninstaller's log: opened in `runDirectory`, one line
// written, `beforeClose` called, closed and relocated to `finalDirectory`;
// where it ended.
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

TEST(LogRelocationTest, TwoRunsLeaveOneLogBesideTheExecutable) {
  TempDir temp;
  TempDir executable;
  const std::wstring finalLog = executable.Child(L"oru_uninstall.log");

  EXPECT_EQ(RunLog(temp.path(), executable.path(), L"first run").path, finalLog);
  const LogPlacement second = RunLog(temp.path(), executable.path(), L"second run");
  EXPECT_TRUE(second.moved);
  EXPECT_EQ(second.path, finalLog);
  EXPECT_FALSE(Exists(temp.Child(L"oru_uninstall.log")));

  const std::string expected =
      std::string(kBom) + kFileHeader + kLine + "first run\n" + kSessionHeader + kFileHeader + kLine + "second run\n";
  const std::string content = ReadFileBytes(finalLog);
  EXPECT_TRUE(std::regex_match(content, std::regex(expected))) << content;

  // The log's name holds "install" (in "uninstall"), hence the install value.
  EXPECT_EQ(std::wstring(LogPathValueName(L"oru_uninstall.log")), L"OruInstallLogPath");
  // With the run-time log gone there is nothing to append, and nothing changes.
  EXPECT_FALSE(AppendLogToExisting(temp.Child(L"oru_uninstall.log"), finalLog));
  EXPECT_EQ(ReadFileBytes(finalLog), content);
}

// A run-time log without a byte-order mark loses none of its bytes; one with
// it (TwoRuns above) loses only the mark.
TEST(LogRelocationTest, ALogWithoutAByteOrderMarkIsAppendedWhole) {
  TempDir dir;
  const std::wstring target = dir.WriteFile(L"final.log", std::string(kBom) + "older\n");
  const std::wstring run = dir.WriteFile(L"run.log", "abcdef\n");
  ASSERT_TRUE(AppendLogToExisting(run, target));
  const std::string content = ReadFileBytes(target);
  EXPECT_TRUE(std::regex_match(content, std::regex(std::string(kBom) + "older\n" + kSessionHeader + "abcdef\n")))
      << content;
  EXPECT_FALSE(Exists(run));
}

TEST(LogRelocationTest, AFinalDirectoryThatCannotBeWrittenLeavesTheLogWhereItWas) {
  TempDir temp;
  TempDir executable;
  // A file where a folder on the final path should be: nothing can go there.
  const std::wstring blocked = executable.WriteFile(L"blocked") + L"\\final";

  const LogPlacement kept = RunLog(temp.path(), blocked, L"kept line");
  const std::string content = ReadFileBytes(temp.Child(L"oru_uninstall.log"));
  EXPECT_NE(content.find("kept line\n"), std::string::npos);
  EXPECT_EQ(content.rfind(kBom, 0), 0u);
  // The answer names where this run's log really is.
  EXPECT_EQ(kept.path, temp.Child(L"oru_uninstall.log"));
  EXPECT_FALSE(kept.moved);
}

// A run-time log that may be read but not moved (held open without delete
// sharing) is copied instead, and the copy is what the record names.
TEST(LogRelocationTest, ALogThatCannotBeMovedIsCopied) {
  TempDir temp;
  TempDir executable;
  UniqueFile reader;
  const LogPlacement copied = RunLog(temp.path(), executable.path(), L"copied line", [&] {
    reader.reset(::CreateFileW(temp.Child(L"oru_uninstall.log").c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
  });
  ASSERT_TRUE(reader);
  EXPECT_NE(ReadFileBytes(executable.Child(L"oru_uninstall.log")).find("copied line\n"), std::string::npos);
  EXPECT_EQ(copied.path, executable.Child(L"oru_uninstall.log"));
}

}  // namespace
}  // namespace oru::test
