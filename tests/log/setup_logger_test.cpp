#include "log/setup_logger.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <regex>
#include <vector>

#include "inject/fault_injector.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

constexpr char kHeaderBytes[] = "\xEF\xBB\xBF=== ORU Setup Log ===\n";

// A failed init does not count: no such folder, or a file already there,
// which may be a link to anything and so is neither emptied nor appended to.
// After a successful one a second changes nothing; nothing before the first
// or after the close lands, and a write that fails loses its line alone.
TEST(SetupLogger, OnlyTheFirstSuccessfulInitOpensANewFileAndOnlyUntilItIsClosed) {
  TempDir dir, other;
  const std::wstring earlier = dir.WriteFile(L"earlier.log", "left over from an earlier run\n");
  auto& logger = SetupLogger::Instance();
  LogInfo(L"too early");
  logger.InitLog(dir.Child(L"no\\such\\dir"), L"run.log");
  EXPECT_FALSE(logger.InitLog(dir.path(), L"earlier.log"));
  LogInfo(L"nowhere to go");
  logger.InitLog(dir.path(), L"run.log");
  logger.InitLog(other.path(), L"b.log");
  {
    // A line the disk would not take is lost alone, not the rest of the run.
    const ScopedFault diskFull{L"WriteFile", ERROR_DISK_FULL, 1};
    LogInfo(L"nowhere on a full disk");
  }
  LogInfo(L"in time");
  (void)logger.CloseLogFile();
  LogInfo(L"too late");

  EXPECT_FALSE(Exists(other.Child(L"b.log")));
  EXPECT_EQ(ReadFileBytes(earlier), "left over from an earlier run\n");
  const std::string bytes = ReadFileBytes(dir.Child(L"run.log"));
  EXPECT_NE(bytes.find(" in time\n"), std::string::npos);
  for (const char* lost : {"too early", "nowhere", "too late"}) EXPECT_EQ(bytes.find(lost), std::string::npos) << lost;
}

// The run-time log folder is shared by every run: an earlier run's log there
// keeps its content under a name of its own, and this run starts afresh with
// its banner, the notice after it.
TEST(SetupLogger, AnEarlierRunsLogIsRenamedAsideNotEmptied) {
  const std::wstring name = L"leftover_" + std::to_wstring(::GetCurrentProcessId()) + L".log",
                     folder = TempFolder() + L"\\OruSetupLogs";
  ASSERT_TRUE(WriteFileAt(folder + L"\\" + name, "the earlier run\n"));

  InitSetupLog(name, L"== banner ==");
  LogInfo(L"this run");
  (void)CloseLogFile();

  std::vector<std::wstring> aside;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::wstring file = entry.path().filename().wstring();
    if (file.starts_with(name + L".") && file.ends_with(L".old")) aside.push_back(entry.path().wstring());
  }
  ASSERT_EQ(aside.size(), 1u);
  EXPECT_EQ(ReadFileBytes(aside[0]), "the earlier run\n");
  const std::string fresh = ReadFileBytes(folder + L"\\" + name);
  const std::string order = R"([^\n]* == banner ==\n[\s\S]*Log of an earlier run renamed aside to: [\s\S]*this run\n)";
  EXPECT_TRUE(std::regex_search(fresh, std::regex(std::string("^") + kHeaderBytes + order))) << fresh;
  for (const std::wstring& path : {aside[0], folder + L"\\" + name}) ::DeleteFileW(path.c_str());
}

}  // namespace
}  // namespace oru::test
