#include "support/reboot_list.h"

#include <windows.h>
// Needs windows.h first.
#include <aclapi.h>

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

RebootSchedulingDenied::RebootSchedulingDenied() {
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManager, 0, READ_CONTROL | WRITE_DAC, key_.put()) != ERROR_SUCCESS) {
    return;
  }
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (::GetSecurityInfo(key_.get(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, &savedDacl_, nullptr,
                        &descriptor) != ERROR_SUCCESS) {
    return;
  }
  saved_.reset(descriptor);
  wchar_t everyone[] = L"Everyone";
  EXPLICIT_ACCESSW deny{};
  deny.grfAccessPermissions = KEY_SET_VALUE | KEY_CREATE_SUB_KEY;
  deny.grfAccessMode = DENY_ACCESS;
  deny.grfInheritance = NO_INHERITANCE;
  deny.Trustee.TrusteeForm = TRUSTEE_IS_NAME;
  deny.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
  deny.Trustee.ptstrName = everyone;
  PACL denied = nullptr;
  if (::SetEntriesInAclW(1, &deny, savedDacl_, &denied) != ERROR_SUCCESS) return;
  const UniqueLocalMemory<PACL> deniedOwner(denied);
  applied_ = ::SetSecurityInfo(key_.get(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, denied,
                               nullptr) == ERROR_SUCCESS;
}

// The key's own access list, kept inside the saved descriptor, goes back.
RebootSchedulingDenied::~RebootSchedulingDenied() {
  if (applied_) {
    ::SetSecurityInfo(key_.get(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, savedDacl_, nullptr);
  }
}

}  // namespace oru::test
