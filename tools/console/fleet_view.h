// The fleet as the console sees it on the broker: every robot that
// publishes connection, state, factsheet or visualization under one
// interface and manufacturer, reduced to the operator's table; and the
// VDA 5050 messages (instant actions, a two-node order) that the console
// sends one of them. Pure: the broker connection lives in FleetWatch.
#pragma once

#include <json/value.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/vda_topics.h"

namespace robocomm::console {

using tools::WallClock;

// What the operator asks of one robot, as its VDA 5050 instant action.
struct FleetCommand {
    const char* name;        // "pause": the last step of POST /api/fleet/SERIAL/pause
    const char* actionType;  // "startPause"
};
// pause, resume, cancel, charge, stop-charging, stop (the robot's own
// emergency stop).
const std::vector<FleetCommand>& fleetCommands();

class FleetView {
public:
    // `scope`: the interface and manufacturer watched (its serial is not used).
    explicit FleetView(tools::Identity scope) : scope_(std::move(scope)) {}

    // "uagv/v2/robocomm/+/connection", ... state, factsheet, visualization.
    std::vector<std::string> subscriptions() const;
    // Takes one message from the broker: the serial of the robot whose row
    // changed, or nullopt for a message of another topic or one it cannot
    // read (a broken message changes nothing).
    std::optional<std::string> receive(const std::string& topic, const std::string& payload);

    // Every robot's row, by serial: serial, connection, battery, charging,
    // operatingMode, driving, paused, errors, orderId, position, and the
    // commands (names of fleetCommands()) its factsheet lets it take.
    Json::Value table() const;
    bool knows(const std::string& serial) const { return robots_.count(serial) != 0; }

    // The instantActions message for `command` (a name of fleetCommands());
    // throws Failure(Usage) for an unknown command and Failure(Failed) for
    // an action the robot's factsheet does not list.
    Json::Value instantAction(const std::string& serial, const std::string& command, WallClock::time_point at);
    // An order of two nodes, from where the robot stands to (x, y) on its
    // map; throws Failure(Failed) while its position is unknown.
    Json::Value orderTo(const std::string& serial, double x, double y, WallClock::time_point at);
    // "uagv/v2/robocomm/SERIAL/instantActions".
    std::string topic(const std::string& serial, const std::string& name) const;

private:
    struct Robot {
        Json::Value row;
        // Action types of the factsheet, empty until one came.
        std::vector<std::string> actions;
    };
    Robot& robot(const std::string& serial);
    const Robot& known(const std::string& serial) const;
    tools::Headers& headers(const std::string& serial);
    std::string nextId(const std::string& serial, const char* kind, WallClock::time_point at);

    const tools::Identity scope_;
    std::map<std::string, Robot> robots_;
    std::map<std::string, std::unique_ptr<tools::Headers>> headers_;
    uint64_t sent_ = 0;
};

}  // namespace robocomm::console
