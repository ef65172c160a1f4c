#pragma once

// Event names and parameter keys used in more than one place.

namespace oru {

// The run did not complete; also the "error_type" of the final event.
inline constexpr char kEventUninstallFailed[] = "uninstall_failed";

// Every event carries its own name under this key, in its first record; the
// registry clean-up also sends it as a parameter of its own.
inline constexpr char kActionKey[] = "action";

// Parameter keys several files send.
inline constexpr char kErrorKey[] = "error";
inline constexpr char kResultCodeKey[] = "result_code";
inline constexpr char kReasonKey[] = "reason";
inline constexpr char kKeepUserDataKey[] = "keep_user_data";

}  // namespace oru
