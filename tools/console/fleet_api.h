// The fleet page's API: GET /api/fleet (the table) and
// POST /api/fleet/SERIAL/COMMAND (an instant action, or "goto" with
// {"x": .., "y": ..}), registered beside the page's other routes.
#pragma once

namespace httplib {
class Server;
}

namespace robocomm::console {

class FleetWatch;

void serveFleet(httplib::Server& server, FleetWatch& fleet);

}  // namespace robocomm::console
