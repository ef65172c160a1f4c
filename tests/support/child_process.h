#pragma once

// A real process started by a test, killed when the test ends. Built on the
// helper_proc program beside the tests.

#include <windows.h>
#include <aclapi.h>

#include <atomic>
#include <string>

#include "common/unique_handle.h"
#include "support/test_paths.h"

namespace oru::test {

class ChildProcess {
 public:
  ChildProcess() = default;
  ChildProcess(ChildProcess&&) = default;
  ChildProcess& operator=(ChildProcess&&) = default;
  ~ChildProcess() { Kill(); }

  // A helper holding `file` open with no sharing: moves and deletes fail with 32.
  static ChildProcess HoldFile(const std::wstring& file) {
    return Start(BinFile(L"helper_proc.exe"), L"hold \"" + file + L"\"");
  }
  // A helper that sleeps, running under the image name of `exe` (copy
  // helper_proc.exe there first with CopyHelperAs).
  static ChildProcess Sleeper(const std::wstring& exe) { return Start(exe, L"sleep 60000"); }

  [[nodiscard]] bool valid() const { return process_.valid(); }
  [[nodiscard]] bool Running() const { return valid() && ::WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT; }
  void Kill() {
    if (!process_.valid()) return;
    ::TerminateProcess(process_.get(), 0);
    ::WaitForSingleObject(process_.get(), 5000);
    process_.reset();
  }
  // Gives the process an empty access list: from then on nobody can open it
  // (OpenProcess fails), while this object keeps its own handle's
  // rights, so Kill() still works. True when applied.
  bool DenyOpenByOthers() {
    ACL emptyAcl{};
    return valid() && ::InitializeAcl(&emptyAcl, sizeof(emptyAcl), ACL_REVISION) &&
           ::SetSecurityInfo(process_.get(), SE_KERNEL_OBJECT,
                             DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr,
                             &emptyAcl, nullptr) == ERROR_SUCCESS;
  }

 private:
  // Starts `exe` with `args` and waits (up to 10 s) until it has signalled
  // readiness; invalid() when it could not start or never got ready.
  static ChildProcess Start(const std::wstring& exe, const std::wstring& args) {
    static std::atomic<unsigned> counter{0};
    const std::wstring eventName =
        L"oru_test_ready_" + std::to_wstring(::GetCurrentProcessId()) + L"_" + std::to_wstring(counter++);
    UniqueHandle ready(::CreateEventW(nullptr, TRUE, FALSE, eventName.c_str()));
    std::wstring commandLine = L"\"" + exe + L"\" " + args + L" " + eventName;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info{};
    ChildProcess child;
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
      return child;
    ::CloseHandle(info.hThread);
    child.process_.reset(info.hProcess);
    HANDLE handles[] = {ready.get(), info.hProcess};
    if (::WaitForMultipleObjects(2, handles, FALSE, 10000) != WAIT_OBJECT_0) child.Kill();
    return child;
  }

  UniqueHandle process_;
};

// Copies helper_proc.exe to `target` (e.g. dir\oru.stravo.exe) and returns target.
inline std::wstring CopyHelperAs(const std::wstring& target) {
  ::CopyFileW(BinFile(L"helper_proc.exe").c_str(), target.c_str(), FALSE);
  return target;
}

}  // namespace oru::test
