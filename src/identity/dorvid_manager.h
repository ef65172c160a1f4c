#pragma once

// Obtains the d36 device identifier for the telemetry's common parameters.
// When dorvid.dll is missing or refuses to start, the identifier is simply
// empty: telemetry goes on without it and nothing is shown to the user.

#include <functional>
#include <string>

#include "identity/dorvid_binding.h"
#include "telemetry/device_id_provider.h"

namespace oru {

class DorvidManager {
 public:
  using D36Callback = std::function<void(const std::wstring& d36)>;

  // The single manager, created on first use and kept until process exit.
  static DorvidManager& GetInstance();

  DorvidManager(const DorvidManager&) = delete;
  DorvidManager& operator=(const DorvidManager&) = delete;

  // Loads sdkDirectory\dorvid.dll and starts it with the product's key.
  // Returns the DorvidCode, logged either way; a second call returns 0
  // without starting the library again.
  int Init(const std::wstring& sdkDirectory);

  // The identifier, asked for synchronously; empty when not obtained.
  [[nodiscard]] std::wstring GetD36();

  // Asks synchronously first; if that yields nothing, lets the library
  // answer later through OnDorvidRecv, possibly on another thread. callback,
  // when given, receives the identifier whichever way it arrives.
  void GetDorvid36Async(D36Callback callback = {});

  // The identifier delivered through OnDorvidRecv; empty until then. Not
  // locked: read it only after the delivery is known to have happened.
  [[nodiscard]] std::wstring ReceivedD36() const { return received_d36_; }

 private:
  friend void OnDorvidRecv(const DorvidResult* result);

  DorvidManager();
  ~DorvidManager();

  bool initialized_ = false;
  std::wstring received_d36_;
  D36Callback async_callback_;
};

// Starts the manager with sdkDirectory\dorvid.dll and asks for the
// identifier once: the telemetry reporter's source of the device identifier.
[[nodiscard]] std::wstring ObtainD36(const std::wstring& sdkDirectory);

// ObtainD36 as the event reporter asks for it.
class DorvidDeviceIds : public DeviceIdProvider {
 public:
  [[nodiscard]] std::wstring DeviceId(const std::wstring& sdkDirectory) override { return ObtainD36(sdkDirectory); }
};

// The result callback given to the library's asynchronous query. Logs and
// reports "dorvid_event" when it carries an identifier; safe to call from
// any thread, and after the manager is gone.
void OnDorvidRecv(const DorvidResult* result);

}  // namespace oru
