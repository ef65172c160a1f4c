#pragma once

// What the event reporter asks for the device identifier of its common
// parameters. The reporter owns the question; the device-identity layer,
// which sits above telemetry, answers it, and the entry hands the answer's
// provider down at Init.

#include <string>

namespace oru {

class DeviceIdProvider {
 public:
  virtual ~DeviceIdProvider() = default;
  // The identifier, given the folder the telemetry library was loaded from;
  // empty when there is none.
  [[nodiscard]] virtual std::wstring DeviceId(const std::wstring& sdkDirectory) = 0;
};

}  // namespace oru
