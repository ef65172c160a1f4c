#pragma once

// Files of the system directory by their full paths: a program or library
// named by its bare name is searched for, and the search starts where anyone
// may have put one of the same name.

#include <string>
#include <string_view>

namespace oru {

// `name` in the system directory ("C:\Windows\System32\cmd.exe"); empty
// when the system directory cannot be had.
[[nodiscard]] std::wstring SystemDirectoryFile(std::wstring_view name);

}  // namespace oru
