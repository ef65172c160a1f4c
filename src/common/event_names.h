#pragma once

// Event names and parameter keys used in more than one place.

namespace oru {

// The run did not complete; also the "error_type" of the final event.
inline constexpr char kEventUninstallFailed[] = "uninstall_failed";

// Every event carries its own name under this key, in its first record; the
// registry clean-up also sends it as a parameter of its own.
inline constexpr char kActionKey[] = "action";

}  // namespace oru
