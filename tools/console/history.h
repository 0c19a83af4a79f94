// The last hour of the robot's battery and speed, kept by the console so
// that a page opened later still shows the shift so far: one sample a
// second, taken from the answers the console's session polls anyway.
#pragma once

#include <json/value.h>

#include <chrono>
#include <cmath>
#include <deque>
#include <mutex>
#include <string>

#include "common/session.h"
#include "console/events.h"

namespace robocomm::console {

using WallClock = std::chrono::system_clock;

struct HistorySample {
    WallClock::time_point time;  // whole seconds
    double percent = NAN;        // %
    double voltage = NAN;        // V
    double current = NAN;        // A, negative while discharging
    double speed = NAN;          // m/s
};

class History : public tools::SessionListener {
public:
    // An hour, one sample a second.
    static constexpr size_t kCapacity = 3600;
    static constexpr std::chrono::seconds kWindow{3600};

    // Each new sample is also published as a "history" event.
    explicit History(EventHub& events) : events_(events) {}

    void linkChanged(tools::LinkState, const std::string&) override {}
    void answered(const std::string& name, const Json::Value& body) override { record(name, body, WallClock::now()); }
    void pushed(const tools::Message&, const Json::Value&) override {}

    // Takes the battery and speed answers; the first answer of a new second
    // adds a sample with the latest values.
    void record(const std::string& name, const Json::Value& body, WallClock::time_point now);

    // {"samples": [{"time": "2026-11-25T07:30:00Z", "percent": 80, ...}]}, oldest first.
    Json::Value json();
    // The same as CSV, a header row with units, then one row per sample.
    std::string csv();

private:
    void add(WallClock::time_point second);

    EventHub& events_;
    std::mutex mutex_;
    std::deque<HistorySample> samples_;
    HistorySample latest_;
};

// "2026-11-25T07:30:00Z"
std::string isoTime(WallClock::time_point time);
Json::Value sampleJson(const HistorySample& sample);

}  // namespace robocomm::console
