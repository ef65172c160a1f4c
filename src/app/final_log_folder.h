#pragma once

// Where the run's log ends. Normally beside the uninstaller, where a later
// run appends to it; but never in a folder the self-deleting script is about
// to remove, nor through a link, which would put it wherever the link points.

#include <string>

namespace oru {

// The folder the log is moved to at the end of the run: ownDirectory, or a
// new "kept_<time>" folder beside the run-time log `runLogPath` when
// ownDirectory lies in doomedDirectory (empty: nothing is being removed) or
// whether it does cannot be told, or when ownDirectory or the log file in it
// (logFileName) is a link. The second case logs one line with its reason.
// Empty when runLogPath has no folder.
[[nodiscard]] std::wstring ChooseFinalLogFolder(const std::wstring& ownDirectory, const std::wstring& doomedDirectory,
                                                const std::wstring& runLogPath, const std::wstring& logFileName);

}  // namespace oru
