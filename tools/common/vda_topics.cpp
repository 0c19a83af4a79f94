#include "common/vda_topics.h"

#include <cstdio>
#include <ctime>

namespace robocomm::tools {

std::string topicOf(const Identity& identity, const std::string& name) {
    return identity.interfaceName + "/v2/" + identity.manufacturer + "/" + identity.serial + "/" + name;
}

std::string clientIdOf(const Identity& identity) {
    return identity.interfaceName + "-" + identity.manufacturer + "-" + identity.serial;
}

std::string isoTimestamp(WallClock::time_point at) {
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(millis / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<int>(millis % 1000));
    return text;
}

bool acceptedVersion(const Json::Value& version) {
    return version.isString() && version.asString().rfind("2.", 0) == 0;
}

Json::Value Headers::stamp(const std::string& topic, Json::Value body, WallClock::time_point at) {
    uint32_t id = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        id = nextId_[topic]++;
    }
    body["headerId"] = id;
    body["timestamp"] = isoTimestamp(at);
    body["version"] = kProtocolVersion;
    body["manufacturer"] = identity_.manufacturer;
    body["serialNumber"] = identity_.serial;
    return body;
}

}  // namespace robocomm::tools
