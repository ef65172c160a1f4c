#pragma once

// The one process-wide telemetry reporter. Every stage of the uninstaller
// reports named events through it. Until the telemetry library is loaded the
// events wait in memory, in order, and go out in one batch once it is.

#include <string>
#include <vector>

#include "common/event_params.h"

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

  // Loads the telemetry library from sdkDirectory and sends what is queued.
  // True when already initialised; false (logged) when the library is
  // missing or unusable, in which case events stay queued.
  bool Init(const std::wstring& sdkDirectory);

  // Sends one event, or queues it while the library is not ready. Never fails.
  void Report(const std::string& eventName, const EventParams& params);

  // Stops the library; later events are queued and never sent.
  void Uninit();

  // Events waiting for the library, oldest first.
  [[nodiscard]] const std::vector<PendingEvent>& PendingEvents() const { return pending_; }

 private:
  EventReporter() = default;

  std::vector<PendingEvent> pending_;
};

}  // namespace oru
