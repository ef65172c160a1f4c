#pragma once

// Looking for and terminating processes by image name. The name is compared
// exactly with the bare executable name in the process list: same length,
// same UTF-16 units, case-sensitive, no path. An empty name never matches.
// Every step is one info line in the log; nothing throws.

#include <string>

namespace oru {

// True at the first process running under `name`. False when there is none,
// and also when the process list cannot be read (logged).
[[nodiscard]] bool IsProcessRunning(const std::wstring& name);

// Terminates every process running under `name`, not only the first, with
// exit code 0; one that cannot be opened or terminated is logged and
// skipped. Then waits 1000 ms, once, so the terminated processes release
// their files. True when at least one process was terminated; false (and no
// wait) when the process list cannot be read.
[[nodiscard]] bool KillProcess(const std::wstring& name);

}  // namespace oru
