#include "log/log_relocation.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <regex>
#include <string>

#include "common/product_keys.h"
#include "common/strings.h"
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

struct RegistryValue {
  bool present = false;
  DWORD type = 0;
  DWORD size = 0;
  std::wstring text;
};

RegistryValue ReadValue(const wchar_t* name) {
  RegistryValue value;
  HKEY key = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, kProductKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return value;
  wchar_t buffer[1024] = {};
  value.size = sizeof(buffer) - sizeof(wchar_t);
  value.present = ::RegQueryValueExW(key, name, nullptr, &value.type, reinterpret_cast<BYTE*>(buffer), &value.size) ==
                  ERROR_SUCCESS;
  ::RegCloseKey(key);
  value.text = buffer;
  return value;
}

void DeleteValue(const wchar_t* name) { ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kProductKey, name); }

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
    DeleteValue(L"OruInstallLogPath");
    DeleteValue(L"OruUninstallLogPath");
  }
  void TearDown() override { SetUp(); }
};

TEST_F(LogRelocationTest, TwoRunsLeaveOneLogBesideTheExecutable) {
  TempDir temp;
  TempDir executable;
  const std::wstring finalLog = executable.Child(L"oru_uninstall.log");

  RunLog(temp.path(), executable.path(), L"first run");
  EXPECT_FALSE(Exists(temp.Child(L"oru_uninstall.log")));
  RunLog(temp.path(), executable.path(), L"second run");
  EXPECT_FALSE(Exists(temp.Child(L"oru_uninstall.log")));

  const std::string expected =
      std::string(kBom) + kFileHeader + kLine + "first run\n" + kSessionHeader + kFileHeader + kLine + "second run\n";
  const std::string content = ReadFileBytes(finalLog);
  EXPECT_TRUE(std::regex_match(content, std::regex(expected))) << content;

  // The log's name holds "install" (in "uninstall"), hence the install value.
  const RegistryValue recorded = ReadValue(L"OruInstallLogPath");
  ASSERT_TRUE(recorded.present);
  EXPECT_EQ(recorded.type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(recorded.text, finalLog);
  EXPECT_FALSE(ReadValue(L"OruUninstallLogPath").present);
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
  EXPECT_FALSE(ReadValue(L"OruInstallLogPath").present);
}

TEST_F(LogRelocationTest, ALogWithoutByteOrderMarkIsAppendedWhole) {
  TempDir dir;
  const std::wstring source = dir.WriteFile(L"run.log", "plain text\nsecond\n");
  const std::wstring target = dir.WriteFile(L"final.log", std::string(kBom) + "earlier\n");

  EXPECT_TRUE(AppendLogToExisting(source, target));
  const std::string expected = std::string(kBom) + "earlier\n" + kSessionHeader + "plain text\nsecond\n";
  EXPECT_TRUE(std::regex_match(ReadFileBytes(target), std::regex(expected))) << ReadFileBytes(target);
  EXPECT_FALSE(Exists(source));
}

TEST_F(LogRelocationTest, AnAppendThatCannotOpenItsSourceKeepsTheTarget) {
  TempDir dir;
  const std::wstring target = dir.WriteFile(L"final.log", "earlier\n");
  EXPECT_FALSE(AppendLogToExisting(dir.Child(L"missing.log"), target));
  EXPECT_EQ(ReadFileBytes(target), "earlier\n");
}

TEST(LogPathValueName, FollowsTheInstallSubstringRule) {
  struct Case {
    const wchar_t* fileName;
    const wchar_t* valueName;
  };
  const Case cases[] = {
      {L"oru_uninstall.log", L"OruInstallLogPath"},  // "install" inside "uninstall"
      {L"oru_install.log", L"OruInstallLogPath"},
      {L"oru_setup.log", L"OruUninstallLogPath"},
      {L"INSTALL.log", L"OruUninstallLogPath"},  // case-sensitive
  };
  for (const auto& c : cases) EXPECT_STREQ(LogPathValueName(c.fileName), c.valueName) << WideToUtf8(c.fileName);
}

}  // namespace
}  // namespace oru
