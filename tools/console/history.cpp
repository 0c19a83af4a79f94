#include "console/history.h"

#include <ctime>

#include "common/json_text.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// A value the robot has not told yet is null in JSON and empty in CSV.
Json::Value jsonNumber(double value) { return std::isnan(value) ? Json::Value() : Json::Value(value); }
std::string csvNumber(double value) { return std::isnan(value) ? "" : numberText(value); }

}  // namespace

std::string isoTime(WallClock::time_point time) {
    const std::time_t seconds = WallClock::to_time_t(time);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

Json::Value sampleJson(const HistorySample& sample) {
    Json::Value json;
    json["time"] = isoTime(sample.time);
    json["percent"] = jsonNumber(sample.percent);
    json["voltage"] = jsonNumber(sample.voltage);
    json["current"] = jsonNumber(sample.current);
    json["speed"] = jsonNumber(sample.speed);
    return json;
}

void History::record(const std::string& name, const Json::Value& body, WallClock::time_point now) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (name == "battery-status-v2") {
        latest_.percent = numberAt(body, {"batteryPercent"});
        latest_.voltage = numberAt(body, {"batteryVoltage"});
        latest_.current = numberAt(body, {"batteryCurrent"});
    } else if (name == "robot-speed") {
        latest_.speed = numberAt(body, {"mS"});
    } else {
        return;
    }
    const auto second = std::chrono::floor<std::chrono::seconds>(now);
    if (samples_.empty() || second > samples_.back().time) add(second);
}

void History::add(WallClock::time_point second) {
    HistorySample sample = latest_;
    sample.time = second;
    samples_.push_back(sample);
    // The ring holds an hour of samples; after a gap (the link was down),
    // samples older than the hour go too.
    while (samples_.size() > kCapacity || samples_.front().time <= second - kWindow) samples_.pop_front();
    events_.publish("history", sampleJson(sample), false);
}

Json::Value History::json() {
    std::lock_guard<std::mutex> lock(mutex_);
    Json::Value body;
    body["samples"] = Json::arrayValue;
    for (const HistorySample& sample : samples_) body["samples"].append(sampleJson(sample));
    return body;
}

std::string History::csv() {
    std::lock_guard<std::mutex> lock(mutex_);
    std::string text = "time (UTC),battery (%),voltage (V),current (A),speed (m/s)\r\n";
    for (const HistorySample& s : samples_) {
        text += isoTime(s.time) + "," + csvNumber(s.percent) + "," + csvNumber(s.voltage) + "," +
                csvNumber(s.current) + "," + csvNumber(s.speed) + "\r\n";
    }
    return text;
}

}  // namespace robocomm::console
