#include "fleet/robot_view.h"

#include "common/json_text.h"

namespace robocomm::fleet {

using tools::memberAt;
using tools::numberAt;

// A robot's answers are read with memberAt and numberAt only: a member of
// another type than the one expected reads as absent or 0, where jsoncpp's
// own accessors would throw on the session's thread.

namespace {

// The integer there, or 0: a number out of int's range is no code.
int intAt(const Json::Value& value, const char* member) {
    const Json::Value& at = memberAt(value, {member});
    return at.isInt() ? at.asInt() : 0;
}

}  // namespace

bool RobotView::read(const std::string& poll, const Json::Value& body, WallClock::time_point at) {
    if (poll == "error-list") {
        readErrors(body);
        return false;
    }
    if (!body.isObject()) return false;
    if (poll == "all-moving-info-v2") {
        const Json::Value& position = memberAt(body, {"Position"});
        for (const char* axis : {"x", "y", "theta"})
            if (!memberAt(position, {axis}).isNumeric()) return false;
        pose = Pose{numberAt(position, {"x"}), numberAt(position, {"y"}), numberAt(position, {"theta"})};
        positionValid = numberAt(body, {"validPosition"}) != 0;
        movingState = intAt(body, "movingState");
        poseRead = at;
        return true;
    }
    if (poll == "battery-status-v2" && body["batteryPercent"].isNumeric()) {
        batteryPercent = body["batteryPercent"].asDouble();
        batteryVoltage = numberAt(body, {"batteryVoltage"});
    } else if (poll == "robot-status" && body["status"].isInt()) {
        status = body["status"].asInt();
    } else if (poll == "robot-speed") {
        speed = numberAt(body, {"mS"});
        turnRate = numberAt(body, {"radS"});
    }
    return false;
}

void RobotView::readErrors(const Json::Value& list) {
    errors.clear();
    addErrors(list);
}

void RobotView::addErrors(const Json::Value& list) {
    if (!list.isArray()) return;
    for (const Json::Value& record : list) {
        if (!record.isObject() || numberAt(record, {"resolved"}) != 0) continue;
        const Json::Value& code = record["errorCode"];
        if (!code.isString() && !code.isNumeric()) continue;
        const std::string text = code.asString();
        bool known = false;
        for (const RobotError& error : errors) known = known || error.code == text;
        if (!known) errors.push_back({text, intAt(record, "rank")});
    }
}

}  // namespace robocomm::fleet
