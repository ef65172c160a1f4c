#include "sys/version_info.h"

#include <windows.h>

#include <cwchar>

#include "common/format.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "sys/dll_loader.h"
#include "sys/system_directory.h"

namespace oru {
namespace {

constexpr char kUnknownVersion[] = "unknown";

// version.dll is not a known DLL: imported statically, the loader would look
// for it first in the uninstaller's own folder, where anyone may have put one.
// Bound from the system directory on first use instead, for the whole run, by
// full path: by name alone, a version.dll already in the process from
// elsewhere would be handed back (Wine's own user32 imports it, beside us).
struct VersionFunctions {
  UniqueModule library;
  decltype(&::GetFileVersionInfoSizeW) getSize = nullptr;
  decltype(&::GetFileVersionInfoW) getInfo = nullptr;
  decltype(&::VerQueryValueW) queryValue = nullptr;
  DWORD error = ERROR_SUCCESS;  // why they are not all there
};

VersionFunctions BindVersionFunctions() {
  VersionFunctions bound;
  bound.library = LoadLibraryByFullPath(SystemDirectoryFile(L"version.dll"));
  const HMODULE module = bound.library.get();
  bound.getSize = GetProcAs<decltype(bound.getSize)>(module, "GetFileVersionInfoSizeW");
  bound.getInfo = GetProcAs<decltype(bound.getInfo)>(module, "GetFileVersionInfoW");
  bound.queryValue = GetProcAs<decltype(bound.queryValue)>(module, "VerQueryValueW");
  if (!bound.getSize || !bound.getInfo || !bound.queryValue) {
    const DWORD error = ::GetLastError();
    bound.error = error != ERROR_SUCCESS ? error : ERROR_PROC_NOT_FOUND;
  }
  return bound;
}

const VersionFunctions& Version() {
  static const VersionFunctions functions = BindVersionFunctions();
  return functions;
}

}  // namespace

VersionInfoReader::VersionInfoReader(std::wstring path) : path_(std::move(path)) {}

bool VersionInfoReader::Load() {
  if (path_.empty()) {
    LogWarning(L"VersionInfoReader: 文件路径为空");
    return false;
  }
  const VersionFunctions& version = Version();
  if (version.error != ERROR_SUCCESS) {
    LogWarning(JoinWide({L"VersionInfoReader: version.dll unavailable from the system directory, file: ", path_,
                         kErrorSuffix, ToWideDecimal(version.error)}));
    return false;
  }
  DWORD handle = 0;
  const DWORD size = version.getSize(path_.c_str(), &handle);
  if (size == 0) {
    const DWORD error = ::GetLastError();
    LogWarning(
        JoinWide({L"VersionInfoReader: 无法获取版本信息大小，文件: ", path_, L", 错误码: ", ToWideDecimal(error)}));
    return false;
  }
  buffer_.assign(size, 0);
  if (!version.getInfo(path_.c_str(), 0, size, buffer_.data())) {
    const DWORD error = ::GetLastError();
    LogWarning(JoinWide({L"VersionInfoReader: 无法获取版本信息，文件: ", path_, L", 错误码: ", ToWideDecimal(error)}));
    return false;
  }
  LogInfo(L"VersionInfoReader: 成功加载版本信息: " + path_);
  loaded_ = true;
  return true;
}

std::wstring VersionInfoReader::GetField(const std::wstring& name) const {
  if (!loaded_) return {};
  struct Translation {
    WORD language;
    WORD codePage;
  };
  void* translations = nullptr;
  UINT length = 0;
  // VerQueryValueW takes a non-const block; it does not modify it.
  void* block = const_cast<unsigned char*>(buffer_.data());
  if (!Version().queryValue(block, L"\\VarFileInfo\\Translation", &translations, &length)) {
    LogInfo(L"VersionInfoReader: 无法获取语言信息");
    return {};
  }
  if (length < sizeof(Translation)) return {};
  const auto* first = static_cast<const Translation*>(translations);
  wchar_t query[128] = {};
  FormatWide(query, 128, L"\\StringFileInfo\\%04x%04x\\%ls", first->language, first->codePage, name.c_str());
  void* value = nullptr;
  UINT valueLength = 0;
  if (Version().queryValue(block, query, &value, &valueLength) && value != nullptr && valueLength > 0) {
    return static_cast<const wchar_t*>(value);
  }
  LogInfo(JoinWide({L"VersionInfoReader: 未找到字段 ", name, L", 文件: ", path_}));
  return {};
}

std::int32_t GetOsVersionPart(int part) {
  using RtlGetVersionFn = LONG(WINAPI*)(OSVERSIONINFOW*);
  DllLoader ntdll(SystemDirectoryFile(L"ntdll.dll"));
  if (ntdll.module() == nullptr) {
    LogInfo(L"Failed to load ntdll.dll");
    return -1;
  }
  const auto rtlGetVersion = GetProcAs<RtlGetVersionFn>(ntdll.module(), "RtlGetVersion");
  if (rtlGetVersion == nullptr) {
    LogInfo(L"Failed to get RtlGetVersion function");
    return -1;
  }
  OSVERSIONINFOW info{};
  info.dwOSVersionInfoSize = sizeof(info);
  if (rtlGetVersion(&info) != 0) {
    LogInfo(L"RtlGetVersion failed");
    return -1;
  }
  const wchar_t* fieldName = nullptr;
  DWORD value = 0;
  switch (part) {
    case 0:
      fieldName = L"dwMajorVersion";
      value = info.dwMajorVersion;
      break;
    case 1:
      fieldName = L"dwMinorVersion";
      value = info.dwMinorVersion;
      break;
    case 2:
      fieldName = L"dwBuildNumber";
      value = info.dwBuildNumber;
      break;
    default:
      return -1;
  }
  LogInfo(JoinWide({fieldName, L": ", ToWideDecimal(value)}));
  return static_cast<std::int32_t>(value);
}

std::string GetOwnProductVersion() {
  wchar_t path[MAX_PATH] = {};
  if (::GetModuleFileNameW(nullptr, path, MAX_PATH) == 0) {
    LogWarning(L"GetModuleFileName failed");
    return kUnknownVersion;
  }
  VersionInfoReader reader(path);
  if (!reader.Load()) {
    LogWarning(std::wstring(L"无法加载 EXE 版本信息: ") + path);
    return kUnknownVersion;
  }
  const std::wstring version = reader.GetProductVersion();
  if (version.empty()) {
    LogWarning(std::wstring(L"未能找到 ProductVersion 字段: ") + path);
    return kUnknownVersion;
  }
  wchar_t line[128] = {};
  FormatWide(line, 128, L"从 EXE 读取到版本号: %ls", version.c_str());
  LogInfo(line);
  return WideToUtf8(version);
}

}  // namespace oru
