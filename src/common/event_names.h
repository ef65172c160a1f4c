#pragma once

// Event names reported from more than one place.

namespace oru {

// The run did not complete; also the "error_type" of the final event.
inline constexpr char kEventUninstallFailed[] = "uninstall_failed";

}  // namespace oru
