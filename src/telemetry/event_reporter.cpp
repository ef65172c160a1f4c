#include "telemetry/event_reporter.h"

#include "common/strings.h"
#include "log/setup_logger.h"

namespace oru {

EventReporter& EventReporter::GetInstance() {
  static EventReporter instance;
  return instance;
}

bool EventReporter::Init(const std::wstring& sdkDirectory) {
  // Placeholder until the telemetry library binding lands.
  LogInfo(L"Telemetry library binding not available yet: " + sdkDirectory);
  return false;
}

void EventReporter::Report(const std::string& eventName, const EventParams& params) {
  pending_.push_back({eventName, params});
  LogInfo(JoinWide({L"[延迟上报 | +0ms] ", Utf8ToWide(eventName), L" (待 Tavrin 初始化后发送)"}));
}

void EventReporter::Uninit() {}

}  // namespace oru
