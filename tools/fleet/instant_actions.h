// Instant actions (VDA 5050 6.8, 6.9): a state machine that takes an
// instantActions message and carries out each action, on the robot through
// a RobotPort or in the bridge (stateRequest, factsheetRequest,
// cancelOrder), reporting each in actionStates. Not thread-safe: the
// vehicle serializes every call.
#pragma once

#include <json/value.h>

#include <functional>

#include "fleet/action_states.h"
#include "fleet/order_executor.h"
#include "fleet/robot_port.h"

namespace robocomm::fleet {

class InstantActions {
public:
    struct Requests {
        std::function<void()> state;
        std::function<void()> factsheet;
    };
    InstantActions(RobotPort& robot, ActionStates& actions, BridgeErrors& errors, OrderExecutor& order,
                   const tools::RobotCodes& codes, Requests requests);

    // A whole instantActions message; a malformed one raises
    // validationError and carries out nothing. `pose`: the robot's, when known.
    void receive(const Json::Value& message, const Pose* pose);
    // Between a finished startPause and a finished stopPause.
    bool paused() const { return paused_; }

private:
    void start(const Json::Value& action, const Pose* pose);
    void cancelOrder(const std::string& id, const Pose* pose);
    void onRobot(const Json::Value& action);

    RobotPort& robot_;
    ActionStates& actions_;
    BridgeErrors& errors_;
    OrderExecutor& order_;
    const tools::RobotCodes& codes_;
    const Requests requests_;
    bool paused_ = false;
};

}  // namespace robocomm::fleet
