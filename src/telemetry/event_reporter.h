#pragma once

// The one process-wide telemetry reporter. Every stage of the uninstaller
// reports named events through it. Until the telemetry library is loaded the
// events wait in memory, in order, and go out in one batch once it is.
// It takes no lock: all calls come from the main thread, except a late
// device-identifier callback, which the library delivers on its own.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/event_params.h"
#include "telemetry/device_id_provider.h"

namespace oru {

class EventReporter {
 public:
  struct PendingEvent {
    std::string name;
    EventParams params;
  };

  static EventReporter& GetInstance();

  EventReporter(const EventReporter&) = delete;
  EventReporter& operator=(const EventReporter&) = delete;

  // Loads the telemetry library from sdkDirectory, sets the common
  // parameters (the device identifier from `deviceIds`, empty without one)
  // and sends what is queued. True when already initialised; false (logged)
  // when the library is missing or unusable, in which case events stay queued.
  bool Init(const std::wstring& sdkDirectory, DeviceIdProvider* deviceIds = nullptr);

  // Sends one event, or queues it while the library is not ready. Never fails.
  void Report(const std::string& eventName, const EventParams& params);

  // Stops and frees the library; later events are queued and never sent.
  // Does nothing unless initialised.
  void Uninit();

  // Events waiting for the library, oldest first.
  [[nodiscard]] const std::vector<PendingEvent>& PendingEvents() const { return pending_; }

 private:
  // The loaded library and what it was last given as common parameters.
  struct Library;

  EventReporter();
  ~EventReporter();

  void SetCommonParams(DeviceIdProvider* deviceIds);
  void SendPendingEvents();
  // Milliseconds since the start tick, or 0 while no start tick is set.
  [[nodiscard]] std::uint32_t Elapsed() const;
  // "\n    key = value" for every common parameter in use.
  [[nodiscard]] std::string CommonParamsDump() const;

  bool initialized_ = false;
  std::wstring sdk_directory_;
  std::string platform_;
  std::string hardware_os_;
  std::string version_;
  std::string launch_channel_;
  std::string install_mode_;
  // On the heap: its 87 KB of zeros would otherwise be stored in the executable.
  std::unique_ptr<Library> library_;
  std::vector<PendingEvent> pending_;
  // Nothing sets it in this program, so elapsed figures read 0 and no
  // "elapsed_time_ms" is sent; the rule stays for a caller that sets it.
  std::uint32_t start_tick_ = 0;
};

}  // namespace oru
