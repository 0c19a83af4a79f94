// The bodies of the messages the bridge publishes, without their header:
// state (VDA 5050 6.10), visualization (6.13), factsheet (6.15) and
// connection (6.14). Pure functions of what the vehicle knows.
#pragma once

#include <json/value.h>

#include <string>

#include "common/robot_codes.h"
#include "fleet/action_states.h"
#include "fleet/order_executor.h"
#include "fleet/robot_view.h"

namespace robocomm::fleet {

struct StateParts {
    const RobotView& robot;
    const OrderExecutor& order;
    const ActionStates& actions;
    const BridgeErrors& errors;
    const tools::RobotCodes& codes;
    const std::string& mapId;
    bool paused;
};

Json::Value stateBody(const StateParts& parts);
// The state without what changes continuously (pose, speed, voltage): a
// state is published when this differs from the last one published.
Json::Value stateEvents(const Json::Value& state);
// agvPosition and velocity, or null while the pose is unknown.
Json::Value visualizationBody(const RobotView& robot, const std::string& mapId);
// "ONLINE", "OFFLINE" or "CONNECTIONBROKEN".
Json::Value connectionBody(const std::string& connectionState);
// What the robot is and which actions it carries out.
Json::Value factsheetBody(const tools::RobotCodes& codes, double visualizationInterval);

}  // namespace robocomm::fleet
