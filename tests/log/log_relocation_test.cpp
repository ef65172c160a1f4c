#include "log/log_relocation.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <regex>
#include <string>

#include "common/product_keys.h"
#include "log/setup_logger.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru {
namespace {

using test::Exists;
using test::ReadFileBytes;
using test::TempDir;

constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr char kFileHeader[] = "=== ORU Setup Log ===\n";
// LF, the session header with its timestamp (which ends in a blank), LF.
constexpr char kSessionHeader[] = R"(\n========== New Session: \d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} ==========\n)";
constexpr char kLine[] = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";

// The REG_SZ value under the product key; empty when absent or another type.
std::wstring ReadValue(const wchar_t* name) {
  wchar_t buffer[1024] = {};
  DWORD size = sizeof(buffer);
  ::RegGetValueW(HKEY_CURRENT_USER, kProductKey, name, RRF_RT_REG_SZ, nullptr, buffer, &size);
  return buffer;
}

// One run of the uninstaller's log: opened in `runDirectory`, one line
// written, closed and relocated to `finalDirectory`.
void RunLog(const std::wstring& runDirectory, const std::wstring& finalDirectory, const std::wstring& line) {
  auto& logger = SetupLogger::Instance();
  logger.InitLog(runDirectory, L"oru_uninstall.log");
  logger.SetFinalLogPath(finalDirectory);
  LogInfo(line);
  CloseLogFile();
}

class LogRelocationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const auto* name : {L"OruInstallLogPath", L"OruUninstallLogPath"}) {
      ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kProductKey, name);
    }
  }
  void TearDown() override { SetUp(); }
};

TEST_F(LogRelocationTest, TwoRunsLeaveOneLogBesideTheExecutable) {
  TempDir temp;
  TempDir executable;
  const std::wstring finalLog = executable.Child(L"oru_uninstall.log");

  RunLog(temp.path(), executable.path(), L"first run");
  RunLog(temp.path(), executable.path(), L"second run");
  EXPECT_FALSE(Exists(temp.Child(L"oru_uninstall.log")));

  const std::string expected =
      std::string(kBom) + kFileHeader + kLine + "first run\n" + kSessionHeader + kFileHeader + kLine + "second run\n";
  const std::string content = ReadFileBytes(finalLog);
  EXPECT_TRUE(std::regex_match(content, std::regex(expected))) << content;

  // The log's name holds "install" (in "uninstall"), hence the install value.
  EXPECT_EQ(ReadValue(L"OruInstallLogPath"), finalLog);
  EXPECT_EQ(ReadValue(L"OruUninstallLogPath"), L"");
}

TEST_F(LogRelocationTest, AFinalDirectoryThatCannotBeWrittenLeavesTheLogWhereItWas) {
  TempDir temp;
  TempDir executable;
  // A file where a folder on the final path should be: nothing can go there.
  const std::wstring blocked = executable.WriteFile(L"blocked") + L"\\final";

  RunLog(temp.path(), blocked, L"kept line");
  const std::string content = ReadFileBytes(temp.Child(L"oru_uninstall.log"));
  EXPECT_NE(content.find("kept line\n"), std::string::npos);
  EXPECT_EQ(content.rfind(kBom, 0), 0u);
  EXPECT_EQ(ReadValue(L"OruInstallLogPath"), L"");
}

TEST_F(LogRelocationTest, ALogWithoutByteOrderMarkIsAppendedWholeAndAMissingOneChangesNothing) {
  TempDir dir;
  const std::wstring source = dir.WriteFile(L"run.log", "plain text\nsecond\n");
  const std::wstring target = dir.WriteFile(L"final.log", std::string(kBom) + "earlier\n");

  EXPECT_TRUE(AppendLogToExisting(source, target));
  const std::string expected = std::string(kBom) + "earlier\n" + kSessionHeader + "plain text\nsecond\n";
  const std::string appended = ReadFileBytes(target);
  EXPECT_TRUE(std::regex_match(appended, std::regex(expected))) << appended;
  EXPECT_FALSE(Exists(source));
  EXPECT_FALSE(AppendLogToExisting(source, target));
  EXPECT_EQ(ReadFileBytes(target), appended);
}

TEST(LogPathValueName, FollowsTheInstallSubstringRule) {
  EXPECT_STREQ(LogPathValueName(L"oru_install.log"), L"OruInstallLogPath");
  EXPECT_STREQ(LogPathValueName(L"oru_setup.log"), L"OruUninstallLogPath");
  EXPECT_STREQ(LogPathValueName(L"INSTALL.log"), L"OruUninstallLogPath") << "case-sensitive";
}

}  // namespace
}  // namespace oru
