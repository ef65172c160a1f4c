#pragma once

// The byte-order mark every log file starts with. Appending a later run's
// log leaves its own mark out, so a file holds exactly one.

namespace oru {

inline constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";

}  // namespace oru
