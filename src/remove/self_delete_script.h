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

}  // namespace oru
