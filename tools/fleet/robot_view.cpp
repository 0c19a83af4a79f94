#include "fleet/robot_view.h"

namespace robocomm::fleet {

bool RobotView::read(const std::string& poll, const Json::Value& body, WallClock::time_point at) {
    if (poll == "error-list") {
        readErrors(body);
        return false;
    }
    if (!body.isObject()) return false;
    if (poll == "all-moving-info-v2") {
        const Json::Value& position = body["Position"];
        if (!position["x"].isNumeric() || !position["y"].isNumeric() || !position["theta"].isNumeric()) return false;
        pose = Pose{position["x"].asDouble(), position["y"].asDouble(), position["theta"].asDouble()};
        positionValid = body["validPosition"].asBool();
        movingState = body["movingState"].asInt();
        poseRead = at;
        return true;
    }
    if (poll == "battery-status-v2" && body["batteryPercent"].isNumeric()) {
        batteryPercent = body["batteryPercent"].asDouble();
        batteryVoltage = body["batteryVoltage"].asDouble();
    } else if (poll == "robot-status" && body["status"].isIntegral()) {
        status = body["status"].asInt();
    } else if (poll == "robot-speed") {
        speed = body["mS"].asDouble();
        turnRate = body["radS"].asDouble();
    }
    return false;
}

void RobotView::readErrors(const Json::Value& list) {
    errors.clear();
    addErrors(list);
}

void RobotView::addErrors(const Json::Value& list) {
    for (const Json::Value& record : list) {
        if (!record.isObject() || record["resolved"].asInt() != 0) continue;
        const std::string code = record["errorCode"].asString();
        bool known = false;
        for (const RobotError& error : errors) known = known || error.code == code;
        if (!known) errors.push_back({code, record["rank"].asInt()});
    }
}

}  // namespace robocomm::fleet
