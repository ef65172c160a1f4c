#include "support/child_process.h"

#include <aclapi.h>

#include <atomic>

#include "support/test_paths.h"

namespace oru::test {

ChildProcess::~ChildProcess() { Kill(); }

ChildProcess ChildProcess::Start(const std::wstring& exe, const std::wstring& args) {
  static std::atomic<unsigned> counter{0};
  const std::wstring eventName =
      L"oru_test_ready_" + std::to_wstring(::GetCurrentProcessId()) + L"_" + std::to_wstring(counter++);
  UniqueHandle ready(::CreateEventW(nullptr, TRUE, FALSE, eventName.c_str()));
  std::wstring commandLine = L"\"" + exe + L"\" " + args + L" " + eventName;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  ChildProcess child;
  if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info)) {
    return child;
  }
  ::CloseHandle(info.hThread);
  child.process_.reset(info.hProcess);
  HANDLE handles[] = {ready.get(), info.hProcess};
  if (::WaitForMultipleObjects(2, handles, FALSE, 10000) != WAIT_OBJECT_0) child.Kill();
  return child;
}

ChildProcess ChildProcess::HoldFile(const std::wstring& file) {
  return Start(BinFile(L"helper_proc.exe"), L"hold \"" + file + L"\"");
}

ChildProcess ChildProcess::Sleeper(const std::wstring& exe) { return Start(exe, L"sleep 60000"); }

bool ChildProcess::Running() const {
  return process_.valid() && ::WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT;
}

void ChildProcess::Kill() {
  if (!process_.valid()) return;
  ::TerminateProcess(process_.get(), 0);
  ::WaitForSingleObject(process_.get(), 5000);
  process_.reset();
}

bool ChildProcess::DenyOpenByOthers() {
  if (!process_.valid()) return false;
  ACL emptyAcl{};
  if (!::InitializeAcl(&emptyAcl, sizeof(emptyAcl), ACL_REVISION)) return false;
  return ::SetSecurityInfo(process_.get(), SE_KERNEL_OBJECT,
                           DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr, &emptyAcl,
                           nullptr) == ERROR_SUCCESS;
}

std::wstring CopyHelperAs(const std::wstring& target) {
  ::CopyFileW(BinFile(L"helper_proc.exe").c_str(), target.c_str(), FALSE);
  return target;
}

}  // namespace oru::test
