#pragma once

#include <string>

namespace oru::test {

// The folder holding the running test program, and beside it the
// uninstaller, the helper process and the stand-ins.
[[nodiscard]] std::wstring BinDir();
[[nodiscard]] std::wstring BinFile(const std::wstring& name);

// %TEMP% and %LOCALAPPDATA% of the test prefix, without a trailing backslash.
[[nodiscard]] std::wstring TempFolder();
[[nodiscard]] std::wstring LocalAppData();

}  // namespace oru::test
