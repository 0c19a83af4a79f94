#include "console/fleet_api.h"

#include <httplib.h>

#include "common/failure.h"
#include "common/json_text.h"
#include "console/fleet_watch.h"
#include "console/replies.h"

namespace robocomm::console {

namespace {

Json::Value bodyOf(const std::string& text) {
    Json::Value body(Json::objectValue);
    std::string errors;
    if (!text.empty() && (!tools::parseJson(text, body, errors) || !body.isObject()))
        throw tools::Failure(tools::Exit::Usage, "the body must be a JSON object ({} for none)");
    return body;
}

}  // namespace

void serveFleet(httplib::Server& server, FleetWatch& fleet) {
    server.Get("/api/fleet", [&fleet](const httplib::Request&, httplib::Response& res) { reply(res, 200, fleet.fleet()); });
    server.Post(R"(/api/fleet/([A-Za-z0-9_.:-]+)/([a-z-]+))", [&fleet](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { reply(res, 200, fleet.send(req.matches[1], req.matches[2], bodyOf(req.body))); });
    });
}

}  // namespace robocomm::console
