// Where a robot's messages go and the header every one of them carries
// (VDA 5050 6.4, 6.14): uagv/v2/robocomm/DEMO-0001/state, headerId
// counting up per topic, the time in ISO 8601 UTC with milliseconds.
#pragma once

#include <json/value.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace robocomm::tools {

using WallClock = std::chrono::system_clock;

// The version the fleet tools speak; they take messages of any 2.x version.
constexpr char kProtocolVersion[] = "2.1.0";

struct Identity {
    std::string interfaceName = "uagv";
    std::string manufacturer = "robocomm";
    std::string serial;  // "DEMO-0001"
};

// "uagv/v2/robocomm/DEMO-0001/state"
std::string topicOf(const Identity& identity, const std::string& name);
// "uagv-robocomm-DEMO-0001": the broker allows one connection per id.
std::string clientIdOf(const Identity& identity);
// "2026-11-25T04:01:02.345Z"
std::string isoTimestamp(WallClock::time_point at);
// True for "2.0.0", "2.1.0", ...: the versions whose messages the tools take.
bool acceptedVersion(const Json::Value& version);

class Headers {
public:
    explicit Headers(Identity identity) : identity_(std::move(identity)) {}
    const Identity& identity() const { return identity_; }
    // `body` with the header of the next message on `topic` stamped at `at`.
    Json::Value stamp(const std::string& topic, Json::Value body, WallClock::time_point at);

private:
    const Identity identity_;
    std::mutex mutex_;
    std::map<std::string, uint32_t> nextId_;
};

}  // namespace robocomm::tools
