// The console's HTTP side: the page, and the API that the page and any
// script use to reach the robot through the console's session.
#pragma once

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

// Sets the server's limits and registers the page and every /api route,
// each request checked against `rules` first (see access.h).
void serveConsole(httplib::Server& server, Session& session, EventHub& events, const AccessRules& rules);

}  // namespace robocomm::console
