#pragma once

// The parameters of one telemetry event: UTF-8 keys and values, kept in byte
// order of the keys so that every event is sent in a predictable order.

#include <map>
#include <string>

namespace oru {

using EventParams = std::map<std::string, std::string>;

}  // namespace oru
