#pragma once

// The debugger channel (OutputDebugStringW) and the one switch that silences
// it. Nothing in the uninstaller turns the switch off; it is kept so that a
// build can.

#include <initializer_list>
#include <string_view>

namespace oru {

[[nodiscard]] bool IsDebugOutputEnabled();
void SetDebugOutputEnabled(bool enabled);

// Sends text to the debugger channel when the switch is on; never throws.
void EmitDebug(std::wstring_view text) noexcept;
// The parts joined, as one message.
void EmitDebug(std::initializer_list<std::wstring_view> parts) noexcept;

}  // namespace oru
