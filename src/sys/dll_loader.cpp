#include "sys/dll_loader.h"

#include "common/strings.h"
#include "log/setup_logger.h"

namespace oru {

DllLoader::DllLoader(const std::wstring& path) {
  if (path.empty()) {
    LogInfo(L"DllLoader: DLL 名称为空");
    return;
  }
  module_.reset(::LoadLibraryW(path.c_str()));
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
