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

  [[nodiscard]] std::vector<EventReporter::PendingEvent> Events() const {
    const auto& all = EventReporter::GetInstance().PendingEvents();
    return {all.begin() + static_cast<long>(start_), all.end()};
  }
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& event : Events()) names.push_back(event.name);
    return names;
  }

 private:
  size_t start_;
};

}  // namespace oru::test
