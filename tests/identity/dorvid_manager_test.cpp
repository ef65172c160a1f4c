#include "identity/dorvid_manager.h"
#include "identity/dorvid_binding.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "common/unique_handle.h"
#include "library_doubles.h"
#include "support/event_capture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace oru::test {
namespace {

TEST(DorvidManager, StartsOnceWithTheProductKeyThenAsksBUntilItAnswers) {
  TempDir dir;
  const std::wstring trace = StageDorvid(dir.path());
  LogCapture log;
  auto& manager = DorvidManager::GetInstance();
  EXPECT_EQ(manager.Init(dir.path()), 0);
  EXPECT_EQ(manager.Init(dir.path()), 0);

  const auto inits = ReadTrace(trace, "a1");
  ASSERT_EQ(inits.size(), 1u);
  EXPECT_EQ(inits[0].Block("app_key"), "0KXN531PLDQ8VRTA");
  EXPECT_EQ(inits[0].Block("channel"), "daily");
  EXPECT_EQ(inits[0].Block("json"), R"({"guid":"kqv"})");
  EXPECT_EQ(inits[0].Block("version"), "1.0.0");
  EXPECT_EQ(inits[0].line, "call a1 log_callback=set flag=true");
  EXPECT_TRUE(log.Has(L"[DorvidManager] DorvidSDK LOG: stub a1 called")) << "the library's own log is passed on";

  ::SetEnvironmentVariableW(L"ORU_DORVID_D36", L"");
  EXPECT_EQ(manager.GetD36(), L"");
  ::SetEnvironmentVariableW(L"ORU_DORVID_D36", L"d36-from-b");
  EXPECT_EQ(manager.GetD36(), L"d36-from-b");
  EXPECT_EQ(manager.GetD36(), L"d36-from-b");
  // The asynchronous query is answered from the cache, on this thread.
  std::wstring given;
  manager.GetDorvid36Async([&](const std::wstring& d36) { given = d36; });
  EXPECT_EQ(given, L"d36-from-b");

  const auto queries = ReadTrace(trace, "b");
  ASSERT_EQ(queries.size(), 2u) << "the cache answers once filled";
  EXPECT_EQ(queries[1].line, "call b size=70");
  EXPECT_EQ(queries[1].Block("app_key"), "0KXN531PLDQ8VRTA");
  EXPECT_TRUE(ReadTrace(trace, "c").empty());
}

// Each failure in its own process: a loaded library is never freed. Only a
// library whose a1 ran can have been asked anything, so only there is the
// trace read.
struct FailureCase {
  const char* what;
  bool staged;
  std::vector<Fault> faults;
  int code;
  const wchar_t* directory = nullptr;  // null: the stand-in's folder
  friend void PrintTo(const FailureCase& c, std::ostream* os) { *os << c.what; }
};

class DorvidInitFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(DorvidInitFailure, GivesItsCodeAndAnEmptyIdentifier) {
  const FailureCase& c = GetParam();
  TempDir dir;
  const std::wstring trace = c.staged ? StageDorvid(dir.path()) : L"";
  ::SetEnvironmentVariableW(L"ORU_DORVID_D36", L"never-asked");
  ::SetEnvironmentVariableW(L"ORU_DORVID_A1_FAILS", c.code == kDorvidInitRejected ? L"1" : nullptr);
  auto& manager = DorvidManager::GetInstance();
  const std::wstring directory = c.directory != nullptr ? c.directory : dir.path();

  const auto lines = LinesUnder(c.faults, [&] { EXPECT_EQ(manager.Init(directory), c.code); });
  EXPECT_EQ(lines.back(), L"初始化 DorvidSDK 失败！返回码: " + std::to_wstring(c.code));
  EXPECT_EQ(manager.GetD36(), L"");
  if (c.code == kDorvidInitRejected) {
    const auto calls = ReadTrace(trace);
    ASSERT_EQ(calls.size(), 1u) << "a1 only: b is never asked";
    EXPECT_EQ(calls[0].name, "a1");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Codes, DorvidInitFailure,
    ::testing::Values(FailureCase{"ModulePath", false, {{L"GetModuleFileNameW", ERROR_ACCESS_DENIED}}, 1, L""},
                      FailureCase{"Missing", false, {}, 3},
                      FailureCase{"Unloadable", true, {{L"LoadLibraryExW", ERROR_BAD_EXE_FORMAT, 0, L"dorvid"}}, 4},
                      FailureCase{"NoA1", true, {{L"GetProcAddress", ERROR_PROC_NOT_FOUND, 0, L"a1"}}, 5},
                      FailureCase{"A1Refuses", true, {}, 6}),
    [](const auto& info) { return std::string(info.param.what); });

// The one code the manager never causes: it always names a folder.
TEST(DorvidBinding, NoFolderAtAllIsCodeSeven) {
  EXPECT_EQ(DorvidBinding::Instance().Initialize("key", nullptr, "daily", {}, "1.0.0", true, nullptr),
            kDorvidNullDirectory);
}

TEST(DorvidManager, AnAsynchronousResultFromAnotherThreadReportsDorvidEventAnEmptyOneNothing) {
  TempDir dir;
  const std::wstring trace = StageDorvid(dir.path());
  const std::wstring eventName = L"oru_dorvid_done_" + std::to_wstring(::GetCurrentProcessId());
  UniqueHandle done(::CreateEventW(nullptr, TRUE, FALSE, eventName.c_str()));
  ASSERT_TRUE(done.valid());
  ::SetEnvironmentVariableW(L"ORU_DORVID_DONE_EVENT", eventName.c_str());
  ::SetEnvironmentVariableW(L"ORU_DORVID_ASYNC_D36", L"d36-later");
  EventCapture events;
  auto& manager = DorvidManager::GetInstance();
  ASSERT_EQ(manager.Init(dir.path()), 0);

  std::wstring given;
  LogCapture log;
  manager.GetDorvid36Async([&](const std::wstring& d36) { given = d36; });
  ASSERT_EQ(::WaitForSingleObject(done.get(), 10000), WAIT_OBJECT_0);
  EXPECT_EQ(manager.ReceivedD36() + L"|" + given, L"d36-later|d36-later");
  EXPECT_EQ(events.Events(), std::vector<std::string>{"dorvid_event type=dorvid_received"});
  EXPECT_EQ(ReadTrace(trace, "c").size(), 1u);

  // Empty or missing results are not reported, only said.
  OnDorvidRecv(nullptr);
  const DorvidResult empty{};
  OnDorvidRecv(&empty);
  EXPECT_EQ(events.Events().size(), 1u);
  EXPECT_TRUE(LinesInOrder(
      log.Lines(), {L"DorvidSDK GetDorvid36Async callback", L"DorvidSDK OnDorvidRecv: d36-later",
                    L"DorvidSDK 回调执行: d36-later", L"d36_str 为:d36-later", L"pqm 参数为空！", L"D36 参数为空！"}));
}

}  // namespace
}  // namespace oru::test
