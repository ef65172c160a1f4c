#pragma once

// The one way this program starts another: by the program's full path,
// never by a name the system would search for (a cmd.exe planted beside the
// uninstaller would win that search), and in an empty working folder of the
// run's own, so that a child that goes astray - Wine's "rd /s" empties its
// current directory when a path runs past MAX_PATH - finds nothing there to
// harm and nothing to pick up.

#include <cstdint>
#include <string>
#include <string_view>

#include "common/unique_handle.h"

namespace oru {

// The folder every child runs in; the entry hands it down once the run has
// one. Until then, or when it is empty, no child is started.
void SetChildWorkingDirectory(const std::wstring& directory);
[[nodiscard]] std::wstring ChildWorkingDirectory();

// The system's cmd.exe, quoted, with /D (no AutoRun commands) and /V:OFF
// (no "!" expansion), then /C and `command`. The one way cmd is asked.
[[nodiscard]] std::wstring SystemCmdCommandLine(std::wstring_view command);

// The program a command line starts: the text between its leading pair of
// double quotes when that is an absolute local path, else empty.
[[nodiscard]] std::wstring QuotedProgramOf(std::wstring_view commandLine);

// Why commandLine must not be started, or empty: it does not begin with a
// quoted absolute program path, or it hands cmd.exe a "%", which cmd would
// expand whatever the quotes.
[[nodiscard]] std::wstring ChildCommandRefusal(std::wstring_view commandLine);

// Starts commandLine - its program named by the quoted path it begins with -
// in the run's working folder; with `hidden` its window (a console's too)
// never shows. A console is still made: the script's "timeout" needs one.
// Returns the process, or an empty handle with the Win32 error in `error`. A
// refusal is logged with its reason and reported as ERROR_BAD_PATHNAME (or
// ERROR_DIRECTORY without a working folder).
[[nodiscard]] UniqueHandle StartChildProcess(const std::wstring& commandLine, bool hidden, std::uint32_t& error);

}  // namespace oru
