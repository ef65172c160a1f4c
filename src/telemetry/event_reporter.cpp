#include "telemetry/event_reporter.h"

#include <windows.h>

#include <cstring>
#include <exception>

#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/dll_loader.h"
#include "sys/version_info.h"
#include "telemetry/tavrin_binding.h"

namespace oru {
namespace {

constexpr char kPlatform[] = "win";
constexpr char kLaunchChannel[] = "default";
constexpr char kUnknownInstallMode[] = "unknown";

constexpr char kInstallModeKey[] = "install_mode";
constexpr char kSessionIdKey[] = "session_id";
constexpr char kElapsedKey[] = "elapsed_time_ms";

constexpr char kPlatformKey[] = "platform";
constexpr char kHardwareOsKey[] = "hardware_os";
constexpr char kVersionKey[] = "version";
constexpr char kLaunchChannelKey[] = "launch_channel";
constexpr char kD36Key[] = "d36";
constexpr char kIsSetupKey[] = "is_setup";
constexpr char kIsSetupValue[] = "true";

constexpr wchar_t kInitSucceeded[] = L"初始化成功!";
constexpr wchar_t kCommonStart[] = L"开始初始化 Tavrin 公共参数";
constexpr wchar_t kDorvidObtained[] = L"获取到 dorvid: ";
constexpr wchar_t kCommonSucceeded[] = L"初始化 Tavrin 公共参数成功!";

constexpr wchar_t kReportStart[] = L"[上报开始 | +";
constexpr wchar_t kReportDone[] = L"[上报完成 | +";
constexpr wchar_t kApiTime[] = L"ms | API耗时:";
constexpr wchar_t kQueued[] = L"[延迟上报 | +";
constexpr wchar_t kQueuedTail[] = L" (待 Tavrin 初始化后发送)";
constexpr wchar_t kBatchStart[] = L"[批量上报开始 | +";
constexpr wchar_t kBatchCount[] = L"ms] 共 ";
constexpr wchar_t kBatchCountTail[] = L" 个延迟事件";
constexpr wchar_t kBatchItem[] = L"  [上报 ";
constexpr wchar_t kBatchItemDone[] = L"    ✓ 完成 | API耗时: ";
constexpr wchar_t kBatchSkipped[] = L"[批量上报] Tavrin 函数指针无效，跳过: ";
constexpr wchar_t kBatchDone[] = L"[批量上报完成 | +";
constexpr wchar_t kBatchSent[] = L"ms] 已发送 ";
constexpr wchar_t kBatchSentTail[] = L" 个事件 | 批量耗时: ";
constexpr wchar_t kReportException[] = L"EventReporter: event not sent, exception: ";

constexpr char kDumpIndent[] = "\n    ";

void AppendDump(std::string& dump, const std::string& key, const std::string& value) {
  dump += kDumpIndent;
  dump += key;
  dump += " = ";
  dump += value;
}

}  // namespace

struct EventReporter::Library {
  std::unique_ptr<DllLoader> loader;
  tavrin::CommonParamTable common_params{};
  std::uint32_t common_param_count = 0;
};

EventReporter& EventReporter::GetInstance() {
  // The logger is created first so that it is destroyed after the reporter:
  // the library loader logs when the reporter frees it at process exit.
  SetupLogger::Instance();
  static EventReporter instance;
  return instance;
}

EventReporter::EventReporter()
    : platform_(kPlatform),
      hardware_os_(ToDecimal(GetOsVersionPart(0))),
      version_(GetOwnProductVersion()),
      launch_channel_(kLaunchChannel),
      install_mode_(kUnknownInstallMode),
      library_(std::make_unique<Library>()) {}

EventReporter::~EventReporter() = default;

bool EventReporter::Init(const std::wstring& sdkDirectory) {
  if (initialized_) return true;
  sdk_directory_ = sdkDirectory;
  library_->loader = tavrin::LoadAndBind(sdk_directory_);
  if (library_->loader == nullptr) return false;
  if (!tavrin::Configure(sdk_directory_, hardware_os_, version_)) return false;
  SetCommonParams();
  LogInfo(kInitSucceeded);
  initialized_ = true;
  SendPendingEvents();
  return true;
}

void EventReporter::SetCommonParams() {
  LogInfo(kCommonStart);
  const std::wstring d36 = device_id_source_ ? device_id_source_(sdk_directory_) : std::wstring();
  LogInfo(kDorvidObtained + d36);
  const EventParams common{{kPlatformKey, platform_},  {kHardwareOsKey, hardware_os_},
                           {kVersionKey, version_},    {kLaunchChannelKey, launch_channel_},
                           {kD36Key, WideToUtf8(d36)}, {kIsSetupKey, kIsSetupValue}};
  tavrin::SetCommonParams(common, library_->common_params, library_->common_param_count);
  LogInfo(kCommonSucceeded);
}

std::uint32_t EventReporter::Elapsed() const { return start_tick_ != 0 ? ::GetTickCount() - start_tick_ : 0; }

std::string EventReporter::CommonParamsDump() const {
  std::string dump;
  for (const tavrin::ParamRecord& record : library_->common_params) {
    if (record.key[0] == '\0') continue;
    AppendDump(dump, std::string(record.key, strnlen(record.key, sizeof(record.key))),
               std::string(record.value, strnlen(record.value, sizeof(record.value))));
  }
  return dump;
}

void EventReporter::Report(const std::string& eventName, const EventParams& params) {
  const std::uint32_t elapsed = Elapsed();
  const std::wstring name = Utf8ToWide(eventName);
  try {
    if (!initialized_ || !tavrin::CanReport()) {
      pending_.push_back({eventName, params});
      LogInfo(JoinWide({kQueued, ToWideDecimal(elapsed), L"ms] ", name, kQueuedTail}));
      return;
    }
    const DWORD t0 = ::GetTickCount();
    LogInfo(JoinWide({kReportStart, ToWideDecimal(elapsed), L"ms] ", name}));
    EventParams sent = params;
    sent.emplace(kInstallModeKey, install_mode_);  // a caller's own value is kept
    std::string dump;
    AppendDump(dump, tavrin::kActionKey, eventName);
    dump += CommonParamsDump();
    if (const std::string sessionId = SetupLogger::Instance().GetLogTagUtf8(); !sessionId.empty()) {
      sent[kSessionIdKey] = sessionId;
      AppendDump(dump, kSessionIdKey, sessionId);
    }
    if (start_tick_ != 0) {
      sent[kElapsedKey] = ToDecimal(elapsed);
      AppendDump(dump, kElapsedKey, sent[kElapsedKey]);
    }
    const std::vector<tavrin::ParamRecord> records = tavrin::PackEventRecords(eventName, sent);
    for (const auto& [key, value] : sent) AppendDump(dump, key, value);
    tavrin::Report(records);
    const DWORD api = ::GetTickCount() - t0;
    LogInfo(JoinWide({kReportDone, ToWideDecimal(elapsed), kApiTime, ToWideDecimal(api), L"ms]", Utf8ToWide(dump)}));
  } catch (const std::exception& e) {
    LogError(JoinWide({kReportException, Utf8ToWide(e.what()), L": ", name}));
  }
}

void EventReporter::SendPendingEvents() {
  if (pending_.empty()) return;
  const DWORD batchStart = ::GetTickCount();
  const std::size_t total = pending_.size();
  LogInfo(JoinWide({kBatchStart, ToWideDecimal(Elapsed()), kBatchCount, ToWideDecimal(total), kBatchCountTail}));
  const std::string sessionId = SetupLogger::Instance().GetLogTagUtf8();
  std::size_t sent = 0;
  for (std::size_t i = 0; i < total; ++i) {
    const PendingEvent& event = pending_[i];
    const std::wstring name = Utf8ToWide(event.name);
    try {
      // Unlike a direct report, a queued event gets no "install_mode".
      EventParams params = event.params;
      if (!sessionId.empty()) params[kSessionIdKey] = sessionId;
      if (start_tick_ != 0) params[kElapsedKey] = ToDecimal(Elapsed());
      if (!tavrin::CanReport()) {
        LogWarning(kBatchSkipped + name);
        continue;
      }
      LogInfo(JoinWide({kBatchItem, ToWideDecimal(i + 1), L"/", ToWideDecimal(total), L" | +", ToWideDecimal(Elapsed()),
                        L"ms] ", name}));
      const DWORD t0 = ::GetTickCount();
      tavrin::Report(tavrin::PackEventRecords(event.name, params));
      ++sent;
      LogInfo(JoinWide({kBatchItemDone, ToWideDecimal(::GetTickCount() - t0), L"ms"}));
    } catch (const std::exception& e) {
      LogError(JoinWide({kReportException, Utf8ToWide(e.what()), L": ", name}));
    }
  }
  LogInfo(JoinWide({kBatchDone, ToWideDecimal(Elapsed()), kBatchSent, ToWideDecimal(sent), L"/", ToWideDecimal(total),
                    kBatchSentTail, ToWideDecimal(::GetTickCount() - batchStart), L"ms"}));
  pending_.clear();
}

void EventReporter::Uninit() {
  if (!initialized_) return;
  tavrin::Shutdown(std::move(library_->loader));
  initialized_ = false;
}

}  // namespace oru
