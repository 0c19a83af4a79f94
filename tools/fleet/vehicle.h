// One robot on the broker: its session (the robot link), its MQTT
// connection, and the order and instant-action state machines between
// them. Every input (a robot answer or push, a broker message, a robot
// command settled, the clock) takes the vehicle's one lock, changes what
// the vehicle knows, and publishes what changed. Each vehicle has threads
// of its own, so one robot's link never waits for another's.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "common/robot_codes.h"
#include "common/session.h"
#include "fleet/action_states.h"
#include "fleet/instant_actions.h"
#include "common/mqtt_link.h"
#include "fleet/order_executor.h"
#include "fleet/robot_view.h"
#include "common/vda_topics.h"

namespace robocomm::fleet {

using tools::BrokerOptions;
using tools::Headers;
using tools::Identity;
using tools::MqttLink;

struct VehicleSettings {
    Identity identity;
    tools::LinkOptions link;
    BrokerOptions broker;
    std::string mapId = "map";
    // How often the position goes out on visualization, at most.
    tools::Millis visualizationInterval{200};
    // The longest time between two states.
    tools::Millis stateInterval{30000};
    OrderSettings order;
};

// The fleet's round of polls and its pacing.
tools::SessionPlan fleetPlan();

class Vehicle : private tools::SessionListener, private RobotPort {
public:
    // `codes` must outlive the vehicle.
    Vehicle(const VehicleSettings& settings, const tools::RobotCodes& codes);
    ~Vehicle() override;

    // Publishes the state when the last one is older than the interval.
    void tick();
    // OFFLINE on connection, then an orderly disconnect (waits up to `patience`).
    void goOffline(tools::Millis patience);

private:
    void linkChanged(tools::LinkState state, const std::string& reason) override;
    void answered(const std::string& name, const Json::Value& body) override;
    void pushed(const tools::Message& message, const Json::Value& document) override;
    void carryOut(const tools::ActionMapping& mapping, const std::vector<std::string>& arguments, Done done) override;

    void brokerConnected();
    void brokerMessage(const std::string& topic, const std::string& payload);
    // Lets the order drive on (with the robot's latest pose), then
    // publishes the state if it changed.
    void settle();
    void publish(const std::string& name, const Json::Value& body, WallClock::time_point at, int qos, bool retain);
    void publishState(bool always);
    void publishConnection();
    void publishFactsheet();
    void say(const std::string& line) const;

    const VehicleSettings settings_;
    const tools::RobotCodes& codes_;
    Headers headers_;

    std::mutex mutex_;
    RobotView robot_;
    ActionStates actions_;
    BridgeErrors errors_;
    OrderExecutor order_;
    InstantActions instant_;
    tools::LinkState link_ = tools::LinkState::Connecting;
    bool robotUp_ = false;
    // Set as the vehicle goes: nothing new is started on the robot.
    bool closing_ = false;
    Json::Value lastEvents_;
    WallClock::time_point lastState_{};
    WallClock::time_point lastVisualization_{};

    // Declared last: they start threads that call back into the members
    // above, and go first (the session before the broker link, whose
    // publishing the session's last callbacks still use).
    std::unique_ptr<MqttLink> mqtt_;
    std::unique_ptr<tools::Session> session_;
};

}  // namespace robocomm::fleet
