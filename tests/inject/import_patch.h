#pragma once

// This module's own import table, read and rewritten at run time. Everything
// here is linked statically into one module, so every Win32 call the program
// makes goes through one of these slots; the system libraries' own calls and
// functions bound with GetProcAddress do not.

#include <string_view>

namespace oru::test {

// The slot through which this module calls `dll`!`function` (the DLL name's
// letter case ignored), or nullptr when it does not import it by name.
[[nodiscard]] void** FindImportSlot(std::string_view dll, std::string_view function);

// Stores `value` in `slot`, writable only for that moment, and returns what
// the slot held before.
void* ExchangeImportSlot(void** slot, void* value);

}  // namespace oru::test
