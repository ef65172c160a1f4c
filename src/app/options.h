#pragma once

// The four command-line options. Matching is exact and case-sensitive on the
// whole argument; anything else on the command line is ignored silently.

namespace oru {

inline constexpr wchar_t kOptionForce[] = L"--force";
inline constexpr wchar_t kOptionUnsilentChrome[] = L"--unsilent-chrome";
inline constexpr wchar_t kOptionSilentOru[] = L"--silent-oru";
inline constexpr wchar_t kOptionKeepUserData[] = L"--keep-user-data";

struct UninstallOptions {
  bool force = false;           // kill a running application
  bool silent_chrome = true;    // run the browser uninstaller silently
  bool keep_user_data = false;  // keep the browser profile
  bool silent_oru = false;      // show no message boxes
};

// Splits a whole command line (program name first) the way the system does;
// the defaults when it can't be split.
[[nodiscard]] UninstallOptions ParseCommandLine(const wchar_t* commandLine);

// ParseCommandLine of the process's own command line.
[[nodiscard]] UninstallOptions ParseProcessCommandLine();

}  // namespace oru
