#include "console/robot_events.h"

#include "common/json_text.h"
#include "common/vocabulary.h"

namespace robocomm::console {

using namespace robocomm::tools;

SessionPlan consolePlan() {
    SessionPlan plan;
    plan.tool = "the console";
    plan.identity = {"software-version", "robot-info"};
    // The state the page shows, polled in turn; the position comes every
    // other poll so that the marker moves smoothly. The battery and the
    // speed, about once a second, also feed the console's history.
    plan.polls = {"position", "battery-status-v2", "position", "robot-status", "position",
                  "target-position", "position", "docking-status", "position", "robot-speed"};
    // About five answers a second are plenty for the page, and the robot's
    // control loop has other work.
    plan.pollGap = Millis(100);
    plan.reconnectPause = plan.reconnectPauseLimit = Millis(1000);
    return plan;
}

void RobotEvents::linkChanged(LinkState state, const std::string& reason) {
    Json::Value link;
    link["state"] = linkStateName(state);
    link["reason"] = reason;
    link["robot"] = link_.host + ":" + std::to_string(link_.port);
    events_.publish("link", link, true);
}

void RobotEvents::answered(const std::string& name, const Json::Value& body) { events_.publish(name, body, true); }

void RobotEvents::pushed(const Message& message, const Json::Value& document) {
    Json::Value push;
    push["code"] = message.code;
    const CommandSpec* command = findCommand(message.code);
    push["name"] = command ? kebabName(*command) : "";
    push["document"] = document;
    events_.publish("push", push, false);
    if (message.code == kErrorCode) events_.publish("error-list", memberAt(document, {"Emergency", "Send", "ErrorList"}), true);
}

}  // namespace robocomm::console
