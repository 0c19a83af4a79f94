// What the bridge knows of one robot from its answers: the pose, motion,
// speed, battery, status and open errors, and when the pose was read.
// Filled on the session's thread under the vehicle's lock.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <vector>

#include "fleet/robot_port.h"
#include "common/vda_topics.h"

namespace robocomm::fleet {

using tools::WallClock;

struct RobotError {
    std::string code;  // "BATTERY-LOW"
    int rank = 0;
};

struct RobotView {
    std::optional<Pose> pose;
    bool positionValid = false;
    // When the answer that carried the pose came: the visualization's time.
    WallClock::time_point poseRead{};
    int movingState = 0;
    double speed = 0;     // m/s
    double turnRate = 0;  // rad/s
    std::optional<double> batteryPercent;
    double batteryVoltage = 0;
    std::optional<int> status;
    std::vector<RobotError> errors;  // unresolved ones

    // Takes the answer to one of the fleet's polls ("all-moving-info-v2",
    // "battery-status-v2", "robot-status", "robot-speed", "error-list");
    // true when it carried a pose.
    bool read(const std::string& poll, const Json::Value& body, WallClock::time_point at);
    // The robot's whole error list (an answer), and the news of an error
    // push, which the next error-list answer confirms or clears.
    void readErrors(const Json::Value& list);
    void addErrors(const Json::Value& list);
};

}  // namespace robocomm::fleet
