// The console's event stream: what the robot pushes and what the console
// learns by polling, fanned out to every browser as Server-Sent Events.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>

#include "common/connection.h"

namespace robocomm::console {

class EventHub {
public:
    // `keep`: the event is the latest word on its name (link state,
    // position, battery...), replayed to every browser that connects later.
    void publish(const std::string& name, const Json::Value& data, bool keep);

    // For a new subscriber: every kept event, in SSE form; `cursor` then
    // marks the point the subscriber has seen.
    std::string snapshot(uint64_t& cursor);
    // The events after `cursor`, in SSE form, waiting up to `wait` for one;
    // empty when none came. A subscriber that fell more than the backlog
    // behind skips what it missed.
    std::string next(uint64_t& cursor, tools::Millis wait);

    // Wakes every subscriber for good, so that the server can stop.
    void close();
    bool closed();

private:
    struct Event {
        uint64_t id;
        std::string text;
    };
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Event> recent_;
    std::map<std::string, std::string> kept_;
    uint64_t lastId_ = 0;
    bool closed_ = false;
};

}  // namespace robocomm::console
