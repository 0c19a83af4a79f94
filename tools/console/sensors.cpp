#include "console/sensors.h"

#include "common/failure.h"
#include "common/vocabulary.h"

namespace robocomm::console {

using namespace robocomm::tools;

const std::vector<std::string> kSensorCommands = {
    "lidar-sensor-status", "lidar-data",      "sonic-status",         "tof-status-v2",    "ir-status",
    "recv-ir-status",      "cliff-ir-status", "line-laser-status-v2", "camera-status-v2",
};

void SensorLease::renew(Clock::time_point now) { until_ = now + kLength; }

bool SensorLease::held(Clock::time_point now) const { return now < until_; }

SensorPolls::SensorPolls(Session& session, EventHub& events) : session_(session), events_(events) {
    thread_ = std::thread([this] { loop(); });
}

SensorPolls::~SensorPolls() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

SensorLease::Clock::time_point SensorPolls::renew() {
    std::lock_guard<std::mutex> lock(mutex_);
    lease_.renew(SensorLease::Clock::now());
    changed_.notify_all();
    return lease_.until();
}

void SensorPolls::loop() {
    size_t next = 0;
    std::unique_lock<std::mutex> lock(mutex_);
    while (awaitTurn(lock)) {
        lock.unlock();
        ask(kSensorCommands[next++ % kSensorCommands.size()]);
        lock.lock();
    }
}

bool SensorPolls::awaitTurn(std::unique_lock<std::mutex>& lock) {
    changed_.wait_for(lock, kGap, [this] { return stopping_; });
    changed_.wait(lock, [this] { return stopping_ || lease_.held(SensorLease::Clock::now()); });
    return !stopping_;
}

// One question at a time, waited for: the session runs requests before its
// own polls, so a queue of sensor questions would hold the position back.
void SensorPolls::ask(const std::string& name) {
    const CommandSpec& command = commandFor(CommandKind::Get, name);
    try {
        const Json::Value body = answerBody(session_.request(command, requestDocument(command, {})));
        events_.publish(name, body, false);
    } catch (const std::exception&) {
        // The link's state reaches the page as its own event; the next
        // question tries again.
    }
}

}  // namespace robocomm::console
