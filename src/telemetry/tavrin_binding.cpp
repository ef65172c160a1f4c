#include "telemetry/tavrin_binding.h"

#include <shlwapi.h>
#include <windows.h>

#include <algorithm>

#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"

namespace oru::tavrin {
namespace {

// The results of init, report and common parameters are not used; int is
// enough to make the calls.
using InitSdkFn = int (*)(const ConfigRecord* config);
using UninitSdkFn = void (*)();
using ReportFn = int (*)(const char* eventCode, const ParamRecord* records, std::uint32_t count, std::int32_t reserved);
using SetCommonParamsFn = int (*)(const ParamRecord* records, std::uint32_t count);
using GetDeviceIdFn = const char* (*)();

struct EntryPoints {
  InitSdkFn init_sdk = nullptr;
  UninitSdkFn uninit_sdk = nullptr;
  ReportFn report = nullptr;
  SetCommonParamsFn set_common_params = nullptr;
  GetDeviceIdFn get_device_id = nullptr;
};

EntryPoints g_entry_points;

}  // namespace

std::unique_ptr<DllLoader> LoadAndBind(const std::wstring& sdkDirectory) {
  LogInfo(L"开始初始化 Tavrin SDK!");
  const std::wstring path = sdkDirectory + L"\\tavrin_sdk.dll";
  LogInfo(L"dll 路径：" + path);
  auto library = std::make_unique<DllLoader>(path);
  const HMODULE module = library->module();
  if (module == nullptr) {
    LogInfo(L"加载 SDK 失败! dll 路径：" + path);
    return nullptr;
  }
  g_entry_points.init_sdk = GetProcAs<InitSdkFn>(module, "TV_InitSDK");
  g_entry_points.uninit_sdk = GetProcAs<UninitSdkFn>(module, "TV_UninitSDK");
  g_entry_points.report = GetProcAs<ReportFn>(module, "TV_Report");
  g_entry_points.set_common_params = GetProcAs<SetCommonParamsFn>(module, "TV_SetCommonParams");
  g_entry_points.get_device_id = GetProcAs<GetDeviceIdFn>(module, "TV_GetTavrinDeviceId");
  const EntryPoints& e = g_entry_points;
  if (e.init_sdk && e.uninit_sdk && e.report && e.set_common_params && e.get_device_id) {
    LogInfo(L"初始化 Tavrin SDK 成功!");
    return library;
  }
  // The library is freed on return: none of its entry points may outlive it.
  g_entry_points = EntryPoints{};
  LogInfo(L"获取 Tavrin SDK 函数指针失败!");
  return nullptr;
}

bool Configure(const std::wstring& sdkDirectory, const std::string& osVersion, const std::string& appVersion) {
  LogInfo(L"开始初始化 Tavrin 配置");
  const std::wstring dataDirectory = sdkDirectory + L"\\tavrin";
  if (!::PathFileExistsW(dataDirectory.c_str()) && !::CreateDirectoryW(dataDirectory.c_str(), nullptr)) {
    const DWORD error = ::GetLastError();
    LogInfo(JoinWide({L"创建文件夹失败!", dataDirectory, L", error: ", ToWideDecimal(error)}));
    return false;
  }
  const ConfigRecord config = MakeConfigRecord(osVersion, appVersion, WideToUtf8(dataDirectory));
  if (g_entry_points.init_sdk != nullptr) g_entry_points.init_sdk(&config);
  LogInfo(L"初始化 Tavrin 配置成功!");
  return true;
}

void SetCommonParams(const EventParams& params, CommonParamTable& table, std::uint32_t& count) {
  LogInfo(L"设置 Tavrin 公共参数");
  // The table is fixed; a larger map would run past it, so it is cut there.
  count = static_cast<std::uint32_t>(std::min(params.size(), table.size()));
  if (count == 0) return;
  std::size_t i = 0;
  for (const auto& [key, value] : params) {
    if (i == count) break;
    table[i++] = MakeParamRecord(key, value);
    LogInfo(Utf8ToWide(key + " = " + value));
  }
  if (g_entry_points.set_common_params != nullptr) g_entry_points.set_common_params(table.data(), count);
  LogInfo(L"设置 Tavrin 公共参数成功!");

  const char* deviceId = g_entry_points.get_device_id != nullptr ? g_entry_points.get_device_id() : nullptr;
  if (deviceId == nullptr || *deviceId == '\0') {
    LogWarning(L"获取 device id 失败或为空");
  } else {
    LogInfo(L"device id: " + Utf8ToWide(deviceId));
  }
}

bool CanReport() noexcept { return g_entry_points.report != nullptr; }

void Report(const std::vector<ParamRecord>& records) {
  if (g_entry_points.report == nullptr || records.empty()) return;
  g_entry_points.report("ORU_STRAVO_KEY_EVENT", records.data(), static_cast<std::uint32_t>(records.size()), 0);
}

void Shutdown(std::unique_ptr<DllLoader> library) {
  if (g_entry_points.uninit_sdk != nullptr) g_entry_points.uninit_sdk();
  library.reset();
  g_entry_points = EntryPoints{};
}

}  // namespace oru::tavrin
