#include "support/reboot_list.h"

#include <windows.h>

namespace oru::test {
namespace {

constexpr wchar_t kSessionManager[] = L"System\\CurrentControlSet\\Control\\Session Manager";

}  // namespace

std::wstring PendingRenames() {
  std::wstring data(1 << 19, L'\0');
  DWORD bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
  if (::RegGetValueW(HKEY_LOCAL_MACHINE, kSessionManager, L"PendingFileRenameOperations", RRF_RT_REG_MULTI_SZ, nullptr,
                     data.data(), &bytes) != ERROR_SUCCESS) {
    return {};
  }
  data.resize(bytes / sizeof(wchar_t));
  return data;
}

}  // namespace oru::test
