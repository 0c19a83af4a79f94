// The operator's routes beside the robot's commands: the names of the
// robot's codes and the map edit. Registered on the console's server, so
// that they pass the same checks as every other route.
#pragma once

#include "common/robot_codes.h"
#include "console/map_edit.h"

namespace httplib {
class Server;
}

namespace robocomm::tools {
class Session;
}  // namespace robocomm::tools

namespace robocomm::console {

struct OperatorState {
    tools::RobotCodes codes;
    MapEditStore& mapEdits;
};

// GET /api/labels, POST and GET /api/map-edit. `state` must outlive the server.
void serveOperator(httplib::Server& server, tools::Session& session, OperatorState& state);

}  // namespace robocomm::console
