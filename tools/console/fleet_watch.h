// The console's connection to a fleet's broker: it keeps the FleetView up
// to date from every robot's retained and live messages, tells the browsers
// on the event stream ("fleet"), and publishes what the operator sends a
// robot. It speaks to the robots through the broker only.
#pragma once

#include <json/value.h>

#include <memory>
#include <mutex>
#include <string>

#include "common/mqtt_link.h"
#include "console/events.h"
#include "console/fleet_view.h"

namespace robocomm::console {

class FleetWatch {
public:
    // Connects in the background (and again whenever the broker went away).
    FleetWatch(const tools::BrokerOptions& broker, tools::Identity scope, EventHub& events);
    ~FleetWatch();
    FleetWatch(const FleetWatch&) = delete;
    FleetWatch& operator=(const FleetWatch&) = delete;

    // {"broker": "127.0.0.1:1883", "robots": [row, ...]} (see FleetView::table).
    Json::Value fleet();
    // Publishes `command` for `serial` (a name of fleetCommands(), or "goto"
    // with {"x": .., "y": ..} in `body`) and waits until the broker has it;
    // the message sent. Throws Failure: Usage for a bad request, Failed for
    // one the robot cannot take, Unreachable while the broker is away.
    Json::Value send(const std::string& serial, const std::string& command, const Json::Value& body);

private:
    void received(const std::string& topic, const std::string& payload);
    Json::Value fleetLocked() const;

    const std::string brokerAddress_;
    EventHub& events_;
    std::mutex mutex_;
    FleetView view_;
    std::unique_ptr<tools::MqttLink> link_;
};

}  // namespace robocomm::console
