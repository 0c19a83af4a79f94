#include "console/fleet_watch.h"

#include <unistd.h>

#include "common/failure.h"
#include "common/json_text.h"

namespace robocomm::console {

using tools::Exit;
using tools::Failure;

namespace {

// How long the operator's answer waits for the broker to take a message.
constexpr std::chrono::milliseconds kPublishPatience{3000};

// Unique per console on one broker (the broker drops an older connection
// of the same id), so that several consoles watch the same fleet.
std::string clientId() { return "robocomm-console-" + std::to_string(getpid()) + "-" + std::to_string(time(nullptr)); }

double coordinate(const Json::Value& body, const char* key) {
    if (!body.isObject() || !body[key].isNumeric())
        throw Failure(Exit::Usage, std::string("goto wants {\"x\": METRES, \"y\": METRES}; no number for ") + key);
    return body[key].asDouble();
}

}  // namespace

FleetWatch::FleetWatch(const tools::BrokerOptions& broker, tools::Identity scope, EventHub& events)
    : brokerAddress_(broker.host + ":" + std::to_string(broker.port ? broker.port : broker.caFile.empty() ? 1883 : 8883)),
      events_(events),
      view_(std::move(scope)) {
    tools::MqttLink::Handlers handlers{nullptr, [this](const std::string& topic, const std::string& payload) {
                                           received(topic, payload);
                                       }};
    link_ = std::make_unique<tools::MqttLink>(broker, clientId(), tools::MqttLink::Will{}, view_.subscriptions(), handlers);
    link_->start();
}

FleetWatch::~FleetWatch() { link_->disconnect(); }

void FleetWatch::received(const std::string& topic, const std::string& payload) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!view_.receive(topic, payload)) return;
    events_.publish("fleet", fleetLocked(), true);
}

Json::Value FleetWatch::fleetLocked() const {
    Json::Value fleet;
    fleet["broker"] = brokerAddress_;
    fleet["robots"] = view_.table();
    return fleet;
}

Json::Value FleetWatch::fleet() {
    std::lock_guard<std::mutex> lock(mutex_);
    return fleetLocked();
}

Json::Value FleetWatch::send(const std::string& serial, const std::string& command, const Json::Value& body) {
    Json::Value message;
    std::string topic;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto now = WallClock::now();
        const bool order = command == "goto";
        message = order ? view_.orderTo(serial, coordinate(body, "x"), coordinate(body, "y"), now)
                        : view_.instantAction(serial, command, now);
        topic = view_.topic(serial, order ? "order" : "instantActions");
    }
    if (!link_->publishAndWait(topic, tools::compactJson(message), false, kPublishPatience))
        throw Failure(Exit::Unreachable, "the broker at " + brokerAddress_ + " did not take the message");
    Json::Value sent;
    sent["topic"] = topic;
    sent["message"] = message;
    return sent;
}

}  // namespace robocomm::console
