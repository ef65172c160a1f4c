#pragma once

// The user's temporary folder, asked for in one place with one rule.

#include <string>

namespace oru {

// GetTempPathW's answer without its trailing backslash; empty when the
// system gives none or one that does not fit MAX_PATH (a cut path would name
// another folder). Callers decide what to do without one, and say so.
[[nodiscard]] std::wstring SystemTempFolder();

}  // namespace oru
