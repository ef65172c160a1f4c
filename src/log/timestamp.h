#pragma once

#include <string>

namespace oru {

// Local time as "YYYY-MM-DD hh:mm:ss.mmm " - the trailing blank is part of it
// and separates the timestamp from what follows in a log line or a header.
[[nodiscard]] std::wstring GetTimestamp();

// Local time as "YYYYMMDD_hhmmss_mmm", for a file or folder name of its own.
[[nodiscard]] std::wstring GetTimestampForName();

}  // namespace oru
