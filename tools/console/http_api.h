// The console's HTTP side: the page, and the API that the page and any
// script use to reach the robot through the console's session.
#pragma once

#include <string>

namespace httplib {
class Server;
}

namespace robocomm::console {

class EventHub;
struct AccessRules;
}  // namespace robocomm::console

namespace robocomm::tools {
class Session;
}  // namespace robocomm::tools

namespace robocomm::console {

using tools::Session;

// Sets the server's limits, checks every request against `rules` first
// (see access.h) and registers the page's files (`startPage` at /) and the
// event stream: what every console serves.
void servePage(httplib::Server& server, EventHub& events, const AccessRules& rules, const std::string& startPage);

// servePage with index.html, and every /api route of the robot.
void serveConsole(httplib::Server& server, Session& session, EventHub& events, const AccessRules& rules);

}  // namespace robocomm::console
