#include "telemetry/event_reporter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "common/strings.h"
#include "library_doubles.h"
#include "log/setup_logger.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"
#include "sys/version_info.h"

namespace oru {
namespace {

using test::CallNames;
using test::CallsNamed;
using test::LogCapture;
using test::ReadTrace;
using test::TempDir;
using test::TraceCall;

using Pairs = std::vector<std::string>;

// A place in the image of the configuration record.
void Put(std::string& image, size_t offset, const std::string& text) { image.replace(offset, text.size(), text); }
void PutInt(std::string& image, size_t offset, std::int32_t value) {
  char bytes[4];
  std::memcpy(bytes, &value, 4);
  image.replace(offset, 4, bytes, 4);
}

// A folder with both stand-ins (b answering "d36-from-b"), whose name needs
// UTF-8 to travel to the library.
class ReporterWithLibraries : public ::testing::Test {
 protected:
  void SetUp() override {
    sdk_ = dir_.MakeDir(L"sdk 遥测");
    trace_ = test::StageTavrin(sdk_);
    test::StageDorvid(sdk_);
    test::SetEnvironment(L"ORU_DORVID_D36", L"d36-from-b");
  }
  [[nodiscard]] std::vector<TraceCall> Trace() const { return ReadTrace(trace_); }

  TempDir dir_;
  std::wstring sdk_;
  std::wstring trace_;
  EventReporter& reporter_ = EventReporter::GetInstance();
};

TEST_F(ReporterWithLibraries, QueuedEventsGoOutInOneBatchAfterTheCommonParameters) {
  LogCapture log;
  const std::wstring keep = dir_.WriteFile(L"sdk 遥测\\tavrin\\keep.txt");
  reporter_.Report("uninstall_started", {{"force_kill", "false"}, {"silent_oru", "true"}});
  reporter_.Report("bare", {});
  EXPECT_TRUE(log.Has(L"[延迟上报 | +0ms] uninstall_started (待 Tavrin 初始化后发送)"));
  EXPECT_TRUE(Trace().empty());

  ASSERT_TRUE(reporter_.Init(sdk_));
  EXPECT_TRUE(reporter_.PendingEvents().empty());
  EXPECT_TRUE(test::Exists(keep)) << "an existing data folder is used as it is";

  const auto calls = Trace();
  EXPECT_EQ(CallNames(calls),
            (Pairs{"TV_InitSDK", "TV_SetCommonParams", "TV_GetTavrinDeviceId", "TV_Report", "TV_Report"}));
  EXPECT_EQ(calls[1].Arg("count"), "6");
  EXPECT_EQ(calls[1].Pairs(), (Pairs{"d36=d36-from-b", "hardware_os=" + ToDecimal(GetOsVersionPart(0)), "is_setup=true",
                                     "launch_channel=default", "platform=win", "version=" + GetOwnProductVersion()}));
  // Queued events carry no "install_mode"; an empty map is the action alone.
  EXPECT_EQ(calls[3].Pairs(), (Pairs{"action=uninstall_started", "force_kill=false", "silent_oru=true"}));
  EXPECT_EQ(calls[3].Arg("count"), "3");
  EXPECT_EQ(calls[4].Pairs(), (Pairs{"action=bare"}));
  EXPECT_EQ(calls[4].Arg("count"), "1");
  for (const TraceCall& report : CallsNamed(calls, "TV_Report")) {
    EXPECT_EQ(report.Block("code"), "ORU_STRAVO_KEY_EVENT");
    EXPECT_EQ(report.Arg("reserved"), "0");
  }

  const long batch = log.IndexOf(L"[批量上报开始 | +0ms] 共 2 个延迟事件");
  EXPECT_GT(batch, log.IndexOf(L"初始化成功!"));
  EXPECT_GT(log.IndexOf(L"  [上报 2/2 | +0ms] bare", batch), batch);
  EXPECT_TRUE(log.HasFragment(L"[批量上报完成 | +0ms] 已发送 2/2 个事件 | 批量耗时: "));
  EXPECT_TRUE(log.Has(L"device id: tv-stub-device"));
  reporter_.Uninit();
}

TEST_F(ReporterWithLibraries, ConfigurationRecordHoldsExactlyTheDocumentedBytes) {
  ASSERT_TRUE(reporter_.Init(sdk_));
  const auto inits = CallsNamed(Trace(), "TV_InitSDK");
  ASSERT_EQ(inits.size(), 1u);

  std::string expected(1168, '\0');
  Put(expected, 0, "0KXN531PLDQ8VRTA");
  PutInt(expected, 256, 1);
  Put(expected, 260, ToDecimal(GetOsVersionPart(0)));
  Put(expected, 388, GetOwnProductVersion());
  Put(expected, 516, "1.0");
  PutInt(expected, 644, 0);
  Put(expected, 648, WideToUtf8(sdk_ + L"\\tavrin"));
  PutInt(expected, 1160, 1);
  PutInt(expected, 1164, 1000);
  EXPECT_EQ(inits[0].Block("config"), expected);
  EXPECT_TRUE(test::Exists(sdk_ + L"\\tavrin"));
  reporter_.Uninit();
}

TEST_F(ReporterWithLibraries, DirectEventsGetInstallModeUnlessTheCallerSetIt) {
  ASSERT_TRUE(reporter_.Init(sdk_));
  LogCapture log;
  reporter_.Report("plain", {{"result", "pass"}});
  reporter_.Report("own_mode", {{"install_mode", "silent"}});

  const auto reports = CallsNamed(Trace(), "TV_Report");
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].Pairs(), (Pairs{"action=plain", "install_mode=unknown", "result=pass"}));
  EXPECT_EQ(reports[1].Pairs(), (Pairs{"action=own_mode", "install_mode=silent"}));
  EXPECT_TRUE(reporter_.PendingEvents().empty());

  // The completion line carries a dump over several lines (which LogCapture
  // splits), so it is read from the file: action, the common parameters in
  // table order, then the event's own.
  EXPECT_TRUE(log.Has(L"[上报开始 | +0ms] plain"));
  const std::string file = test::ReadFileBytes(SetupLogger::Instance().LogPath());
  const std::string dump =
      "ms]\n    action = plain\n    d36 = d36-from-b\n    hardware_os = " + ToDecimal(GetOsVersionPart(0)) +
      "\n    is_setup = true\n    launch_channel = default\n    platform = win\n    version = " +
      GetOwnProductVersion() + "\n    install_mode = unknown\n    result = pass\n";
  const size_t at = file.find(dump);
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(file.rfind(WideToUtf8(L"[上报完成 | +0ms | API耗时:"), at), file.rfind('\n', at) + 25)
      << "the dump ends the completion line";
  reporter_.Uninit();
}

TEST_F(ReporterWithLibraries, LongKeysAndValuesAreCutAndUnusedBytesStayZero) {
  ASSERT_TRUE(reporter_.Init(sdk_));
  std::string key(300, 'k');
  key[254] = 'K';  // the last byte that fits
  std::string value(5000, '\0');
  for (size_t i = 0; i < value.size(); ++i) value[i] = static_cast<char>('a' + i % 26);
  reporter_.Report("long", {{key, value}});

  const auto reports = CallsNamed(Trace(), "TV_Report");
  ASSERT_EQ(reports.size(), 1u);
  const auto records = reports[0].Records();
  ASSERT_EQ(records.size(), 3u);  // action, install_mode, the long one
  std::string action(4352, '\0');
  action.replace(0, 6, "action");
  action.replace(256, 4, "long");
  EXPECT_EQ(records[0].bytes, action);
  std::string cut(4352, '\0');
  cut.replace(0, 255, key.substr(0, 255));
  cut.replace(256, 4095, value.substr(0, 4095));
  EXPECT_EQ(records[2].bytes, cut);
  reporter_.Uninit();
}

TEST_F(ReporterWithLibraries, ShutdownHappensOnceAndLaterEventsStayQueued) {
  ASSERT_TRUE(reporter_.Init(sdk_));
  LogCapture log;
  reporter_.Uninit();
  reporter_.Uninit();
  reporter_.Report("after_shutdown", {});

  const auto calls = Trace();
  EXPECT_EQ(CallsNamed(calls, "TV_UninitSDK").size(), 1u);
  EXPECT_EQ(calls.back().name, "TV_UninitSDK");
  EXPECT_EQ(log.Count(L"DllLoader: 成功释放 DLL"), 1u);
  ASSERT_EQ(reporter_.PendingEvents().size(), 1u);
  EXPECT_EQ(reporter_.PendingEvents()[0].name, "after_shutdown");
}

TEST(EventReporterFailures, LibraryWithoutDeviceIdExportIsNotUsedAtAll) {
  TempDir dir;
  const std::wstring trace = test::StageTavrin(dir.path(), test::kTavrinStubNoDeviceId);
  LogCapture log;
  auto& reporter = EventReporter::GetInstance();
  reporter.Report("early", {{"k", "v"}});

  EXPECT_FALSE(reporter.Init(dir.path()));
  reporter.Report("late", {});
  reporter.Uninit();

  EXPECT_TRUE(ReadTrace(trace).empty()) << "not even TV_InitSDK or TV_UninitSDK";
  EXPECT_TRUE(log.Has(L"获取 Tavrin SDK 函数指针失败!"));
  EXPECT_TRUE(log.Has(L"DllLoader: 成功释放 DLL"));
  ASSERT_EQ(reporter.PendingEvents().size(), 2u);
  EXPECT_EQ(reporter.PendingEvents()[0].name, "early");
  EXPECT_EQ(reporter.PendingEvents()[1].name, "late");
}

// A file named tavrin_sdk.dll that is no library, half a library, or nothing.
TEST(EventReporterFailures, UnloadableLibraryIsALoggedFailureAndEventsStayQueued) {
  const std::string stub = test::ReadFileBytes(test::BinFile(test::kTavrinStub));
  ASSERT_GT(stub.size(), 1024u);
  const struct {
    std::string what;
    bool present;
    std::string content;
  } cases[] = {{"garbage", true, "this is not a library\x01\x02\xff"},
               {"truncated", true, stub.substr(0, stub.size() / 2)},
               {"missing", false, ""}};
  auto& reporter = EventReporter::GetInstance();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir dir;
    const std::wstring path = dir.Child(L"tavrin_sdk.dll");
    if (c.present) dir.WriteFile(L"tavrin_sdk.dll", c.content);
    LogCapture log;
    reporter.Report(c.what, {});
    EXPECT_FALSE(reporter.Init(dir.path()));
    EXPECT_TRUE(log.Has(L"加载 SDK 失败! dll 路径：" + path));
    EXPECT_TRUE(log.HasFragment(L"[WARNING] DllLoader: 加载 DLL 失败: " + path + L", 错误码: "));
    EXPECT_EQ(reporter.PendingEvents().back().name, c.what);
  }
}

}  // namespace
}  // namespace oru
