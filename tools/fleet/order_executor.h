// The order (VDA 5050 6.6): a state machine that takes orders and order
// updates, rejects what it cannot carry out, and drives the robot node by
// node through a RobotPort. It owns nodeStates, edgeStates, lastNodeId and
// the order's actions; the vehicle feeds it the robot's pose and says when
// it is paused. Not thread-safe: the vehicle serializes every call.
#pragma once

#include <json/value.h>

#include <deque>
#include <string>
#include <vector>

#include "fleet/action_states.h"
#include "fleet/robot_port.h"

namespace robocomm::fleet {

struct OrderSettings {
    // How close the robot must come to a node that gives no
    // allowedDeviationXY of its own, in metres.
    double defaultDeviation = 0.25;
};

class OrderExecutor {
public:
    OrderExecutor(RobotPort& robot, ActionStates& actions, BridgeErrors& errors, const tools::RobotCodes& codes,
                  OrderSettings settings);

    // An order message. Rejected ones raise validationError, orderError,
    // orderUpdateError or noRouteError and leave the current order as it
    // was; nothing reaches the robot. `pose`: the robot's, when known.
    void receive(const Json::Value& order, const Pose* pose);
    // The robot's latest pose: nodes reached are traversed, and the robot
    // is sent on to the next released node unless `paused`.
    void advance(const Pose& pose, bool paused);
    // cancelOrder: false when there is no order to cancel. Otherwise the
    // order's open actions fail, its nodes and edges go, the robot is told
    // to stop where it is, and `stopped` hears how that went.
    bool cancel(const Pose& pose, RobotPort::Done stopped);
    // True while released nodes are left or the order's actions run.
    bool active() const;

    // orderId, orderUpdateId, lastNodeId, lastNodeSequenceId, nodeStates,
    // edgeStates, newBaseRequest into the state.
    void describe(Json::Value& state) const;

private:
    // A node or an edge.
    struct Element {
        Json::Value order;  // as the order gave it
        std::string id;
        int64_t sequenceId = 0;
        bool released = false;
    };
    using Node = Element;
    using Edge = Element;

    // What is wrong with the order's layout ("nodes[2].sequenceId ..."), empty when nothing.
    std::string layoutError(const Json::Value& order) const;
    // The first action the robot cannot carry out, or empty.
    std::string unsupportedAction(const Json::Value& order) const;
    void take(const Json::Value& order, bool update);
    bool reachable(const Json::Value& firstNode, const Pose* pose) const;
    bool within(const Node& node, const Pose& pose) const;
    void traverse();
    void runActions(const Json::Value& actions);
    void reject(const std::string& type, const std::string& description, const Json::Value& order);

    RobotPort& robot_;
    ActionStates& actions_;
    BridgeErrors& errors_;
    const tools::RobotCodes& codes_;
    const OrderSettings settings_;

    std::string orderId_;
    int64_t orderUpdateId_ = 0;
    std::string lastNodeId_;
    int64_t lastNodeSequenceId_ = 0;
    std::deque<Node> nodes_;
    std::deque<Edge> edges_;
    // Ids of the current order's actions, for cancelOrder and a new order.
    std::vector<std::string> orderActions_;
    // Robot commands of the order under way (node actions and the move).
    int running_ = 0;
    // The node the robot was last sent to (its sequenceId), -1 for none.
    int64_t headingFor_ = -1;
    // Bumped by cancel and by a new order, so that a late answer to an
    // earlier move does not count for the current one.
    uint64_t generation_ = 0;
};

}  // namespace robocomm::fleet
