#pragma once

namespace oru {

// The whole run, from opening the log to relocating it. Returns the process
// exit code: 0 whenever the run reaches its end - also when the uninstall
// itself failed, which only the log and the final event tell - and 1 only
// when the executable's own path or the workspace could not be had.
[[nodiscard]] int RunUninstaller();

}  // namespace oru
