#include "sys/dll_loader.h"

#include "common/path_rules.h"
#include "common/strings.h"
#include "log/setup_logger.h"

namespace oru {

UniqueModule LoadLibraryByFullPath(const std::wstring& path) {
  // A relative name would be searched for, which is what this function is
  // there to prevent; LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR needs a full path too.
  if (const std::wstring_view refusal = AbsoluteLocalPathRefusal(path); !refusal.empty()) {
    LogWarning(JoinWide({L"Refused to load a DLL not named by an absolute local path: ", path, L", ", refusal}));
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return UniqueModule();
  }
  return UniqueModule(
      ::LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
}

DllLoader::DllLoader(const std::wstring& path) {
  if (path.empty()) {
    LogInfo(L"DllLoader: DLL 名称为空");
    return;
  }
  module_ = LoadLibraryByFullPath(path);
  if (module_) {
    LogInfo(L"DllLoader: 成功加载 DLL: " + path);
    return;
  }
  const DWORD error = ::GetLastError();
  LogWarning(JoinWide({L"DllLoader: 加载 DLL 失败: ", path, L", 错误码: ", ToWideDecimal(error)}));
}

DllLoader::~DllLoader() {
  if (!module_) return;
  // Freed here rather than by the wrapper, whose closer cannot tell how it went.
  if (::FreeLibrary(module_.release())) {
    LogInfo(L"DllLoader: 成功释放 DLL");
  } else {
    const DWORD error = ::GetLastError();
    LogWarning(L"DllLoader: 释放 DLL 失败, 错误码: " + ToWideDecimal(error));
  }
}

}  // namespace oru
