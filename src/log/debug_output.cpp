#include "log/debug_output.h"

#include <windows.h>

#include <mutex>
#include <string>

#include "common/strings.h"

namespace oru {
namespace {

std::mutex& SwitchMutex() {
  static std::mutex m;
  return m;
}
bool debugOutputEnabled = true;

}  // namespace

bool IsDebugOutputEnabled() {
  std::lock_guard lock(SwitchMutex());
  return debugOutputEnabled;
}

void SetDebugOutputEnabled(bool enabled) {
  std::lock_guard lock(SwitchMutex());
  debugOutputEnabled = enabled;
}

void EmitDebug(std::wstring_view text) noexcept {
  try {
    if (!IsDebugOutputEnabled()) return;
    const std::wstring terminated(text);
    ::OutputDebugStringW(terminated.c_str());
  } catch (...) {
    // The debugger channel is the last resort; there is nowhere left to report to.
  }
}

void EmitDebug(std::initializer_list<std::wstring_view> parts) noexcept {
  try {
    EmitDebug(JoinWide(parts));
  } catch (...) {
    // As above: nowhere left to report to.
  }
}

}  // namespace oru
