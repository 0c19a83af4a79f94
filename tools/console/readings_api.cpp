#include "console/readings_api.h"

#include <httplib.h>

#include "console/history.h"
#include "console/replies.h"
#include "console/sensors.h"

namespace robocomm::console {

namespace {

void leaseRoute(SensorPolls& sensors, httplib::Response& res) {
    const auto until = sensors.renew();
    Json::Value body;
    body["sensors"] = Json::arrayValue;
    for (const std::string& name : kSensorCommands) body["sensors"].append(name);
    body["milliseconds"] = Json::Int64(
        std::chrono::duration_cast<std::chrono::milliseconds>(until - SensorLease::Clock::now()).count());
    reply(res, 200, body);
}

void csvRoute(History& history, httplib::Response& res) {
    res.set_header("Cache-Control", "no-store");
    res.set_header("Content-Disposition", "attachment; filename=\"robot-history.csv\"");
    res.set_content(history.csv(), "text/csv; charset=utf-8");
}

}  // namespace

void serveReadings(httplib::Server& server, History& history, SensorPolls& sensors) {
    server.Get("/api/history", [&history](const httplib::Request&, httplib::Response& res) {
        res.set_header("Cache-Control", "no-store");
        reply(res, 200, history.json());
    });
    server.Get("/api/history.csv", [&history](const httplib::Request&, httplib::Response& res) {
        csvRoute(history, res);
    });
    server.Post("/api/sensors/lease", [&sensors](const httplib::Request&, httplib::Response& res) {
        leaseRoute(sensors, res);
    });
}

}  // namespace robocomm::console
