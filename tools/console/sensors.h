// The robot's sensors, polled only while a page shows them. A page holds a
// lease that it renews while its sensor panel is open; while one is held,
// the console asks one sensor at a time through the session, between the
// session's own polls, and publishes each answer under its command name.
// When no page renews the lease, the polling stops and the link keeps its
// capacity for commands.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/session.h"
#include "console/events.h"

namespace robocomm::console {

// The sensor answers the panel shows, in the order they are asked.
extern const std::vector<std::string> kSensorCommands;

// A page's claim on the sensor readings, which lapses unless renewed.
class SensorLease {
public:
    using Clock = std::chrono::steady_clock;
    // A page renews every two seconds; this leaves room for one late renewal.
    static constexpr std::chrono::milliseconds kLength{5000};

    void renew(Clock::time_point now);
    bool held(Clock::time_point now) const;
    // When the lease lapses (or lapsed).
    Clock::time_point until() const { return until_; }

private:
    Clock::time_point until_{};
};

class SensorPolls {
public:
    // From one sensor answer to the next question: at least one of the
    // session's own polls (every 100 ms) fits between two sensor questions.
    static constexpr std::chrono::milliseconds kGap{250};

    SensorPolls(tools::Session& session, EventHub& events);
    ~SensorPolls();
    SensorPolls(const SensorPolls&) = delete;
    SensorPolls& operator=(const SensorPolls&) = delete;

    // A page's panel is open; returns when the lease lapses unless renewed.
    SensorLease::Clock::time_point renew();

private:
    void loop();
    // Waits until the lease is held and the gap has passed; false when stopping.
    bool awaitTurn(std::unique_lock<std::mutex>& lock);
    void ask(const std::string& name);

    tools::Session& session_;
    EventHub& events_;
    std::mutex mutex_;
    std::condition_variable changed_;
    SensorLease lease_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace robocomm::console
