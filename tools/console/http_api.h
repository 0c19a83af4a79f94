// The console's HTTP side: the page, and the API that the page and any
// script use to reach the robot through the console's session.
#pragma once

#include <string>

namespace httplib {
class Server;
}

namespace robocomm::console {

class EventHub;
}  // namespace robocomm::console

namespace robocomm::tools {
class Session;
}  // namespace robocomm::tools

namespace robocomm::console {

using tools::Session;

// Registers the page and every /api route. A non-empty `token` is then
// required on every request, as "Authorization: Bearer TOKEN" or as the
// query parameter token=TOKEN (which the page's event stream needs).
void serveConsole(httplib::Server& server, Session& session, EventHub& events, const std::string& token);

}  // namespace robocomm::console
