// What the console's session learns of the robot, as events for the page:
// the link's state, the polled answers under their command names, and the
// robot's pushes.
#pragma once

#include "common/session.h"
#include "console/events.h"

namespace robocomm::console {

// The console's own round of polls and its identity questions.
tools::SessionPlan consolePlan();

class RobotEvents : public tools::SessionListener {
public:
    RobotEvents(EventHub& events, const tools::LinkOptions& link) : events_(events), link_(link) {}

    void linkChanged(tools::LinkState state, const std::string& reason) override;
    void answered(const std::string& name, const Json::Value& body) override;
    void pushed(const tools::Message& message, const Json::Value& document) override;

private:
    EventHub& events_;
    const tools::LinkOptions link_;
};

}  // namespace robocomm::console
