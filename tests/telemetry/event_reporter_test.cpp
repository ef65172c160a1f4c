#include "telemetry/event_reporter.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "common/strings.h"
#include "library_doubles.h"
#include "support/event_capture.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"
#include "sys/version_info.h"
#include "telemetry/tavrin_binding.h"

namespace oru::test {
namespace {

using Pairs = std::vector<std::string>;

std::string Int32(std::int32_t value) { return std::string(reinterpret_cast<const char*>(&value), 4); }

// The stand-in in a folder whose name needs UTF-8 to travel to the library.
// Events wait for Init, then follow the configuration record and the common
// parameters; later ones go at once, cut to their records, until the one
// shutdown, after which they wait again.
TEST(EventReporter, SendsTheQueueAfterTheConfigurationThenEachEventCutToItsRecordUntilShutdown) {
  auto& reporter = EventReporter::GetInstance();
  TempDir dir;
  const std::wstring sdk = dir.MakeDir(L"sdk 遥测"), trace = StageTavrin(sdk);
  const std::wstring keep = dir.WriteFile(L"sdk 遥测\\tavrin\\keep.txt");
  struct : DeviceIdProvider {
    std::wstring askedIn;
    std::wstring DeviceId(const std::wstring& sdkDirectory) override {
      askedIn = sdkDirectory;
      return L"d36-of-source";
    }
  } deviceIds;
  LogCapture log;
  reporter.Report("uninstall_started", {{"force_kill", "false"}, {"silent_oru", "true"}});
  reporter.Report("bare", {});
  EXPECT_TRUE(ReadTrace(trace).empty());
  ASSERT_TRUE(reporter.Init(sdk, &deviceIds));
  EXPECT_TRUE(reporter.PendingEvents().empty());
  EXPECT_TRUE(Exists(keep)) << "an existing data folder is used as it is";
  EXPECT_TRUE(LinesInOrder(log.Lines(), {L"[延迟上报 | +0ms] uninstall_started (待 Tavrin 初始化后发送)",
                                         L"[延迟上报 | +0ms] bare (待 Tavrin 初始化后发送)", L"初始化成功!",
                                         L"[批量上报开始 | +0ms] 共 2 个延迟事件",
                                         L"  [上报 1/2 | +0ms] uninstall_started", L"  [上报 2/2 | +0ms] bare"}));
  EXPECT_TRUE(log.HasFragment(L"[批量上报完成 | +0ms] 已发送 2/2 个事件 | 批量耗时: "));

  const auto calls = ReadTrace(trace);
  ASSERT_EQ(calls.size(), 5u);
  std::string config(1168, '\0');
  for (const auto& [offset, bytes] : std::vector<std::pair<size_t, std::string>>{{0, "0KXN531PLDQ8VRTA"},
                                                                                 {256, Int32(1)},
                                                                                 {260, ToDecimal(GetOsVersionPart(0))},
                                                                                 {388, GetOwnProductVersion()},
                                                                                 {516, "1.0"},
                                                                                 {644, Int32(0)},
                                                                                 {648, WideToUtf8(sdk + L"\\tavrin")},
                                                                                 {1160, Int32(1)},
                                                                                 {1164, Int32(1000)}}) {
    config.replace(offset, bytes.size(), bytes);
  }
  EXPECT_EQ(calls[0].name, "TV_InitSDK");
  EXPECT_EQ(calls[0].Block("config"), config);
  EXPECT_EQ(calls[1].name, "TV_SetCommonParams");
  EXPECT_EQ(deviceIds.askedIn, sdk);
  EXPECT_EQ(calls[1].Pairs(),
            (Pairs{"d36=d36-of-source", "hardware_os=" + ToDecimal(GetOsVersionPart(0)), "is_setup=true",
                   "launch_channel=default", "platform=win", "version=" + GetOwnProductVersion()}));
  EXPECT_EQ(calls[2].name, "TV_GetTavrinDeviceId");
  // Queued events carry no "install_mode"; an empty map is the action alone.
  EXPECT_EQ(calls[3].line, "call TV_Report count=3 reserved=0");
  EXPECT_EQ(calls[3].Pairs(), (Pairs{"action=uninstall_started", "force_kill=false", "silent_oru=true"}));
  EXPECT_EQ(calls[4].line, "call TV_Report count=1 reserved=0");
  EXPECT_EQ(calls[4].Pairs(), (Pairs{"action=bare"}));

  reporter.Report("plain", {{"result", "pass"}});
  EXPECT_TRUE(log.Has(L"[上报开始 | +0ms] plain"));
  reporter.Report("own_mode", {{"install_mode", "silent"}});
  std::string key(300, 'k'), value(5000, 'v');
  key[254] = 'K';  // the last byte that fits
  value[4094] = 'V';
  reporter.Report("long", {{key, value}});
  reporter.Uninit();
  reporter.Uninit();
  reporter.Report("after_shutdown", {});

  const auto reports = ReadTrace(trace, "TV_Report");
  ASSERT_EQ(reports.size(), 5u);
  for (const TraceCall& report : reports) EXPECT_EQ(report.Block("code"), "ORU_STRAVO_KEY_EVENT");
  EXPECT_EQ(reports[2].Pairs(), (Pairs{"action=plain", "install_mode=unknown", "result=pass"}));
  EXPECT_EQ(reports[3].Pairs(), (Pairs{"action=own_mode", "install_mode=silent"}));
  const auto records = reports[4].Records();
  ASSERT_EQ(records.size(), 3u);  // action, install_mode, the long one
  std::string cut(4352, '\0');
  cut.replace(0, 255, key.substr(0, 255)).replace(256, 4095, value.substr(0, 4095));
  EXPECT_EQ(records[2], cut);
  EXPECT_EQ(ReadTrace(trace, "TV_UninitSDK").size(), 1u);
  EXPECT_EQ(ReadTrace(trace).back().name, "TV_UninitSDK");
  ASSERT_EQ(reporter.PendingEvents().size(), 1u);
  EXPECT_EQ(reporter.PendingEvents()[0].name, "after_shutdown");
}

// A library that will not load, one without TV_GetTavrinDeviceId, a data
// folder that cannot be made: none is started, and events stay queued. Only
// the last leaves the library loaded, its entry points bound.
TEST(EventReporterFailures, AnUnusableLibraryIsNeverStartedAndEventsStayQueued) {
  auto& reporter = EventReporter::GetInstance();
  TempDir dir;
  const std::wstring trace = StageTavrin(dir.path()), library = dir.Child(L"tavrin_sdk.dll");
  const auto row = [&](const Fault& fault, bool bound, const std::vector<std::wstring>& lines) {
    EventCapture events;
    const auto logged = LinesUnder({fault}, [&] {
      reporter.Report("early", {});
      EXPECT_FALSE(reporter.Init(dir.path()));
      reporter.Report("late", {});
    });
    EXPECT_TRUE(LinesInOrder(logged, lines));
    EXPECT_EQ(tavrin::CanReport(), bound);
    EXPECT_TRUE(ReadTrace(trace).empty()) << "not even TV_InitSDK";
    EXPECT_EQ(events.Events(), (std::vector<std::string>{"early", "late"}));
  };
  row({L"LoadLibraryExW", ERROR_BAD_EXE_FORMAT, 0, L"tavrin_sdk"}, false,
      {L"[WARNING] DllLoader: 加载 DLL 失败: " + library + L", 错误码: 193", L"加载 SDK 失败! dll 路径：" + library});
  row({L"GetProcAddress", ERROR_PROC_NOT_FOUND, 0, L"TV_GetTavrinDeviceId"}, false,
      {L"获取 Tavrin SDK 函数指针失败!", L"DllLoader: 成功释放 DLL"});
  row({L"CreateDirectoryW", ERROR_ACCESS_DENIED, 0, L"\\tavrin"}, true,
      {L"创建文件夹失败!" + dir.Child(L"tavrin") + L", error: 5"});
  // A relative folder is refused though the current one holds the stand-in.
  ASSERT_TRUE(::SetCurrentDirectoryW(dir.path().c_str()));
  const LogCapture log;
  EXPECT_FALSE(reporter.Init(L"."));
  EXPECT_TRUE(log.HasFragment(L"Refused to load a DLL not named by an absolute local path: .\\tavrin_sdk.dll, "));
  ::SetCurrentDirectoryW(BinDir().c_str());  // so that the folder can go
}

}  // namespace
}  // namespace oru::test
