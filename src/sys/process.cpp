#include "sys/process.h"

#include <windows.h>
// Needs windows.h before it.
#include <tlhelp32.h>

#include <string_view>

#include "common/unique_handle.h"
#include "log/setup_logger.h"

namespace oru {
namespace {

constexpr DWORD kReleaseFilesWaitMs = 1000;

bool ImageNameMatches(const PROCESSENTRY32W& entry, std::wstring_view name) {
  return !name.empty() && std::wstring_view(entry.szExeFile) == name;
}

// Calls visit(entry) for each process running under `name` until it returns
// false. False when the process list could not be read.
template <typename Visit>
bool ForEachProcessNamed(std::wstring_view name, Visit visit) {
  UniqueSnapshot snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot) {
    LogInfo(L"Failed to create process snapshot.");
    return false;
  }
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = ::Process32FirstW(snapshot.get(), &entry); more; more = ::Process32NextW(snapshot.get(), &entry)) {
    if (ImageNameMatches(entry, name) && !visit(entry)) break;
  }
  return true;
}

}  // namespace

bool IsProcessRunning(const std::wstring& name) {
  LogInfo(L"Checking if process is running: " + name);
  bool found = false;
  if (!ForEachProcessNamed(name, [&](const PROCESSENTRY32W&) {
        found = true;
        return false;
      })) {
    return false;
  }
  if (found) {
    LogInfo(L"Process found running: " + name);
  } else {
    LogInfo(L"Process not running: " + name);
  }
  return found;
}

bool KillProcess(const std::wstring& name) {
  LogInfo(L"Attempting to kill process: " + name);
  bool killed = false;
  if (!ForEachProcessNamed(name, [&](const PROCESSENTRY32W& entry) {
        UniqueHandle process(::OpenProcess(PROCESS_TERMINATE, FALSE, entry.th32ProcessID));
        if (!process) {
          LogInfo(L"Failed to open process for termination: " + name);
        } else if (::TerminateProcess(process.get(), 0)) {
          LogInfo(L"Successfully killed process: " + name);
          killed = true;
        } else {
          LogInfo(L"Failed to terminate process: " + name);
        }
        return true;
      })) {
    return false;
  }
  // Also written when matches existed but none of them could be terminated.
  if (!killed) LogInfo(L"Process not found for killing: " + name);
  ::Sleep(kReleaseFilesWaitMs);
  return killed;
}

}  // namespace oru
