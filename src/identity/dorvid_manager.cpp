#include "identity/dorvid_manager.h"

#include <atomic>
#include <cstring>

#include "common/strings.h"
#include "log/setup_logger.h"
#include "telemetry/event_reporter.h"
#include "telemetry/tavrin_records.h"

namespace oru {
namespace {

constexpr char kChannel[] = "daily";
constexpr char kLibraryVersion[] = "1.0.0";
constexpr char kGuidKey[] = "guid";
constexpr char kGuidValue[] = "kqv";

constexpr char kDorvidEvent[] = "dorvid_event";
constexpr char kDorvidEventTypeKey[] = "type";
constexpr char kDorvidEventTypeReceived[] = "dorvid_received";

constexpr wchar_t kInitStart[] = L"初始化 DorvidSDK!";
constexpr wchar_t kParentDirectory[] = L"dorvid.dll 父目录路径：";
constexpr wchar_t kInitFailed[] = L"初始化 DorvidSDK 失败！返回码: ";
constexpr wchar_t kInitSucceeded[] = L"初始化 DorvidSDK 成功！返回码: ";
constexpr wchar_t kQuerySync[] = L"获取 D36";
constexpr wchar_t kQueryAsync[] = L"异步获取 D36";
constexpr wchar_t kAsyncWithCallback[] = L"DorvidSDK GetDorvid36Async callback";
constexpr wchar_t kInstanceMissing[] = L"DorvidSDK 实例为空！";
constexpr wchar_t kResultMissing[] = L"pqm 参数为空！";
constexpr wchar_t kD36Missing[] = L"D36 参数为空！";
constexpr wchar_t kReceived[] = L"DorvidSDK OnDorvidRecv: ";
constexpr wchar_t kCallbackDone[] = L"DorvidSDK 回调执行: ";
constexpr wchar_t kCallerGiven[] = L"d36_str 为:";
constexpr wchar_t kLibraryLog[] = L"[DorvidManager] DorvidSDK LOG: ";

// The library's threads may call back while the process is exiting, after
// the manager's destructor has run; they must then find no manager.
std::atomic<DorvidManager*> g_live_manager{nullptr};

void OnDorvidLog(const char* text) { LogInfo(kLibraryLog + Utf8ToWide(text != nullptr ? text : "")); }

std::wstring D36Text(const DorvidResult& result) {
  return Utf8ToWide(std::string_view(result.d36, strnlen(result.d36, sizeof(result.d36))));
}

}  // namespace

DorvidManager::DorvidManager() { g_live_manager.store(this); }

DorvidManager::~DorvidManager() { g_live_manager.store(nullptr); }

DorvidManager& DorvidManager::GetInstance() {
  static DorvidManager instance;
  return instance;
}

int DorvidManager::Init(const std::wstring& sdkDirectory) {
  LogInfo(kInitStart);
  LogInfo(kParentDirectory + sdkDirectory);
  const int code = DorvidBinding::Instance().Initialize(
      tavrin::kAppKey, OnDorvidLog, kChannel, {{kGuidKey, kGuidValue}}, kLibraryVersion, true, sdkDirectory.c_str());
  if (code != kDorvidOk) {
    LogInfo(kInitFailed + ToWideDecimal(code));
  } else {
    LogInfo(kInitSucceeded + ToWideDecimal(code));
    initialized_ = true;
  }
  return code;
}

std::wstring DorvidManager::GetD36() {
  LogInfo(kQuerySync);
  return Utf8ToWide(DorvidBinding::Instance().QueryD36());
}

void DorvidManager::GetDorvid36Async(D36Callback callback) {
  LogInfo(kQueryAsync);
  const std::wstring d36 = GetD36();
  if (!d36.empty()) {
    if (callback) {
      LogInfo(kCallerGiven + d36);
      callback(d36);
    }
    return;
  }
  if (!initialized_) return;
  if (callback) LogInfo(kAsyncWithCallback);
  // Kept before the library can answer, so the answering thread finds it.
  async_callback_ = std::move(callback);
  DorvidBinding::Instance().QueryD36Async(OnDorvidRecv);
}

std::wstring ObtainD36(const std::wstring& sdkDirectory) {
  DorvidManager& manager = DorvidManager::GetInstance();
  manager.Init(sdkDirectory);
  return manager.GetD36();
}

void OnDorvidRecv(const DorvidResult* result) {
  DorvidManager* manager = g_live_manager.load();
  if (manager == nullptr) {
    LogInfo(kInstanceMissing);
    return;
  }
  if (result == nullptr) {
    LogInfo(kResultMissing);
    return;
  }
  const std::wstring d36 = D36Text(*result);
  if (d36.empty()) {
    LogInfo(kD36Missing);
    return;
  }
  LogInfo(kReceived + d36);
  manager->received_d36_ = d36;
  EventReporter::GetInstance().Report(kDorvidEvent, {{kDorvidEventTypeKey, kDorvidEventTypeReceived}});
  LogInfo(kCallbackDone + d36);
  if (manager->async_callback_) {
    LogInfo(kCallerGiven + d36);
    manager->async_callback_(d36);
  }
}

}  // namespace oru
