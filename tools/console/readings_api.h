// The routes of the robot's readings: the last hour of battery and speed
// (JSON and CSV), and the lease that keeps the sensors polled while a page
// shows them. Registered on the console's server, behind its checks.
#pragma once

namespace httplib {
class Server;
}

namespace robocomm::console {

class History;
class SensorPolls;

// GET /api/history, GET /api/history.csv, POST /api/sensors/lease. Both
// parts must outlive the server.
void serveReadings(httplib::Server& server, History& history, SensorPolls& sensors);

}  // namespace robocomm::console
