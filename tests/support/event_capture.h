#pragma once

// The events reported since this capture was made. Without a telemetry
// library every event waits in the reporter's queue, which is what this reads.

#include <string>
#include <vector>

#include "telemetry/event_reporter.h"

namespace oru::test {

class EventCapture {
 public:
  EventCapture() : start_(EventReporter::GetInstance().PendingEvents().size()) {}

  // Each event as "name key=value ...", its parameters in key order.
  [[nodiscard]] std::vector<std::string> Events() const {
    const auto& all = EventReporter::GetInstance().PendingEvents();
    std::vector<std::string> events;
    for (auto event = all.begin() + static_cast<long>(start_); event != all.end(); ++event) {
      std::string text = event->name;
      for (const auto& [key, value] : event->params) text += " " + key + "=" + value;
      events.push_back(text);
    }
    return events;
  }

 private:
  size_t start_;
};

}  // namespace oru::test
