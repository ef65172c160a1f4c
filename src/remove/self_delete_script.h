#pragma once

// The last resort for the installation directory: a batch script, started
// hidden just before the uninstaller exits, that waits for it to go and then
// removes the directory (and itself) from outside.

#include <string>

namespace oru {

// True when the directory holds nothing but folders named "uninstall" (any
// letter case), an empty directory included. False for an empty path, a path
// over 256 characters, or a directory that cannot be listed.
[[nodiscard]] bool NeedsSelfDeleteUninstall(const std::wstring& installPath);

// Writes dir\_deldir.bat and starts it hidden with dir as its argument.
// Failures are silent beyond the first log line.
void CreateAndRunSelfDeleteDirScript(const std::wstring& dir);

// The script's full path for dir.
[[nodiscard]] std::wstring SelfDeleteScriptPath(const std::wstring& dir);

// Writes the script to scriptPath as UTF-8 with a byte-order mark and CR LF
// line ends. False when the file cannot be opened or a line not written.
bool WriteSelfDeleteScript(const std::wstring& scriptPath);

}  // namespace oru
