#pragma once

// The last resort for the installation directory: a batch script, started
// hidden just before the uninstaller exits, that waits for it to go and then
// removes the directory (and itself), the run's workspace and the empty
// folder it ran in from outside, so that a complete uninstall leaves no
// folder of ours behind.

#include <string>

namespace oru {

// True when the directory holds nothing but folders named "uninstall" (any
// letter case), an empty directory included. False for an empty path, a path
// over 256 characters, or a directory that cannot be listed.
[[nodiscard]] bool NeedsSelfDeleteUninstall(const std::wstring& installPath);

// Writes dir\_deldir.bat and starts it hidden through the system's cmd.exe,
// with dir, the run's empty working folder and the run's workspace as its
// arguments; the script runs in that folder, never in a folder of the
// user's. True when it started; a failure writes nothing beyond the first
// log line (a refused start logs its reason).
[[nodiscard]] bool CreateAndRunSelfDeleteDirScript(const std::wstring& dir, const std::wstring& workspace);

// The command line that starts the script: cmd.exe by its full path, with
// /D /V:OFF, and the script, dir, workingDirectory and workspace each quoted.
[[nodiscard]] std::wstring SelfDeleteCommandLine(const std::wstring& script, const std::wstring& dir,
                                                 const std::wstring& workingDirectory, const std::wstring& workspace);

// The script's full path for dir.
[[nodiscard]] std::wstring SelfDeleteScriptPath(const std::wstring& dir);

// Writes the script to scriptPath as UTF-8 with a byte-order mark and CR LF
// line ends. False when the file cannot be opened or a line not written.
[[nodiscard]] bool WriteSelfDeleteScript(const std::wstring& scriptPath);

}  // namespace oru
