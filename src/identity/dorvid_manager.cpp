#include "identity/dorvid_manager.h"

#include <atomic>
#include <cstring>

#include "common/strings.h"
#include "log/setup_logger.h"
#include "telemetry/event_reporter.h"
#include "telemetry/tavrin_records.h"

namespace oru {
namespace {

// Written both when the identifier is given at once and when it arrives later.
constexpr wchar_t kCallerGiven[] = L"d36_str 为:";

// The library's threads may call back while the process is exiting, after
// the manager's destructor has run; they must then find no manager.
std::atomic<DorvidManager*> g_live_manager{nullptr};

void OnDorvidLog(const char* text) {
  LogInfo(L"[DorvidManager] DorvidSDK LOG: " + Utf8ToWide(text != nullptr ? text : ""));
}

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
  LogInfo(L"初始化 DorvidSDK!");
  LogInfo(L"dorvid.dll 父目录路径：" + sdkDirectory);
  const int code = DorvidBinding::Instance().Initialize(tavrin::kAppKey, OnDorvidLog, "daily", {{"guid", "kqv"}},
                                                        "1.0.0", true, sdkDirectory.c_str());
  if (code != kDorvidOk) {
    LogInfo(L"初始化 DorvidSDK 失败！返回码: " + ToWideDecimal(code));
  } else {
    LogInfo(L"初始化 DorvidSDK 成功！返回码: " + ToWideDecimal(code));
    initialized_ = true;
  }
  return code;
}

std::wstring DorvidManager::GetD36() {
  LogInfo(L"获取 D36");
  return Utf8ToWide(DorvidBinding::Instance().QueryD36());
}

void DorvidManager::GetDorvid36Async(D36Callback callback) {
  LogInfo(L"异步获取 D36");
  const std::wstring d36 = GetD36();
  if (!d36.empty()) {
    if (callback) {
      LogInfo(kCallerGiven + d36);
      callback(d36);
    }
    return;
  }
  if (!initialized_) return;
  if (callback) LogInfo(L"DorvidSDK GetDorvid36Async callback");
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
    LogInfo(L"DorvidSDK 实例为空！");
    return;
  }
  if (result == nullptr) {
    LogInfo(L"pqm 参数为空！");
    return;
  }
  const std::wstring d36 = D36Text(*result);
  if (d36.empty()) {
    LogInfo(L"D36 参数为空！");
    return;
  }
  LogInfo(L"DorvidSDK OnDorvidRecv: " + d36);
  manager->received_d36_ = d36;
  EventReporter::GetInstance().Report("dorvid_event", {{"type", "dorvid_received"}});
  LogInfo(L"DorvidSDK 回调执行: " + d36);
  if (manager->async_callback_) {
    LogInfo(kCallerGiven + d36);
    manager->async_callback_(d36);
  }
}

}  // namespace oru
