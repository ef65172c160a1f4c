#pragma once

// The debugger channel (OutputDebugStringW) and the one switch that silences
// it. Nothing in the uninstaller turns the switch off; it is kept so that a
// build can.

#include <string_view>

namespace oru {

[[nodiscard]] bool IsDebugOutputEnabled();
void SetDebugOutputEnabled(bool enabled);

// Sends text to the debugger channel when the switch is on; never throws.
void EmitDebug(std::wstring_view text) noexcept;

}  // namespace oru
