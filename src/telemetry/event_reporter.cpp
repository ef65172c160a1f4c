#include "telemetry/event_reporter.h"

#include <windows.h>

#include <cstring>
#include <exception>

#include "common/event_names.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/dll_loader.h"
#include "sys/version_info.h"
#include "telemetry/tavrin_binding.h"

namespace oru {
namespace {

// Keys the reporter adds to an event itself.
constexpr char kSessionIdKey[] = "session_id";
constexpr char kElapsedKey[] = "elapsed_time_ms";

constexpr wchar_t kReportException[] = L"EventReporter: event not sent, exception: ";

void AppendDump(std::string& dump, const std::string& key, const std::string& value) {
  dump += "\n    ";
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
    : platform_("win"),
      hardware_os_(ToDecimal(GetOsVersionPart(0))),
      version_(GetOwnProductVersion()),
      launch_channel_("default"),
      install_mode_("unknown"),
      library_(std::make_unique<Library>()) {}

EventReporter::~EventReporter() = default;

bool EventReporter::Init(const std::wstring& sdkDirectory, DeviceIdProvider* deviceIds) {
  if (initialized_) return true;
  sdk_directory_ = sdkDirectory;
  library_->loader = tavrin::LoadAndBind(sdk_directory_);
  if (library_->loader == nullptr) return false;
  if (!tavrin::Configure(sdk_directory_, hardware_os_, version_)) return false;
  SetCommonParams(deviceIds);
  LogInfo(L"初始化成功!");
  initialized_ = true;
  SendPendingEvents();
  return true;
}

void EventReporter::SetCommonParams(DeviceIdProvider* deviceIds) {
  LogInfo(L"开始初始化 Tavrin 公共参数");
  const std::wstring d36 = deviceIds != nullptr ? deviceIds->DeviceId(sdk_directory_) : std::wstring();
  LogInfo(L"获取到 dorvid: " + d36);
  const EventParams common{{"platform", platform_},  {"hardware_os", hardware_os_},
                           {"version", version_},    {"launch_channel", launch_channel_},
                           {"d36", WideToUtf8(d36)}, {"is_setup", "true"}};
  tavrin::SetCommonParams(common, library_->common_params, library_->common_param_count);
  LogInfo(L"初始化 Tavrin 公共参数成功!");
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
      LogInfo(JoinWide({L"[延迟上报 | +", ToWideDecimal(elapsed), L"ms] ", name, L" (待 Tavrin 初始化后发送)"}));
      return;
    }
    const DWORD t0 = ::GetTickCount();
    LogInfo(JoinWide({L"[上报开始 | +", ToWideDecimal(elapsed), L"ms] ", name}));
    EventParams sent = params;
    sent.emplace("install_mode", install_mode_);  // a caller's own value is kept
    std::string dump;
    AppendDump(dump, kActionKey, eventName);
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
    LogInfo(JoinWide(
        {L"[上报完成 | +", ToWideDecimal(elapsed), L"ms | API耗时:", ToWideDecimal(api), L"ms]", Utf8ToWide(dump)}));
  } catch (const std::exception& e) {
    LogError(JoinWide({kReportException, Utf8ToWide(e.what()), L": ", name}));
  }
}

void EventReporter::SendPendingEvents() {
  if (pending_.empty()) return;
  const DWORD batchStart = ::GetTickCount();
  const std::size_t total = pending_.size();
  LogInfo(JoinWide({L"[批量上报开始 | +", ToWideDecimal(Elapsed()), L"ms] 共 ", ToWideDecimal(total), L" 个延迟事件"}));
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
        LogWarning(L"[批量上报] Tavrin 函数指针无效，跳过: " + name);
        continue;
      }
      LogInfo(JoinWide({L"  [上报 ", ToWideDecimal(i + 1), L"/", ToWideDecimal(total), L" | +",
                        ToWideDecimal(Elapsed()), L"ms] ", name}));
      const DWORD t0 = ::GetTickCount();
      tavrin::Report(tavrin::PackEventRecords(event.name, params));
      ++sent;
      LogInfo(JoinWide({L"    ✓ 完成 | API耗时: ", ToWideDecimal(::GetTickCount() - t0), L"ms"}));
    } catch (const std::exception& e) {
      LogError(JoinWide({kReportException, Utf8ToWide(e.what()), L": ", name}));
    }
  }
  LogInfo(
      JoinWide({L"[批量上报完成 | +", ToWideDecimal(Elapsed()), L"ms] 已发送 ", ToWideDecimal(sent), L"/",
                ToWideDecimal(total), L" 个事件 | 批量耗时: ", ToWideDecimal(::GetTickCount() - batchStart), L"ms"}));
  pending_.clear();
}

void EventReporter::Uninit() {
  if (!initialized_) return;
  tavrin::Shutdown(std::move(library_->loader));
  initialized_ = false;
}

}  // namespace oru
