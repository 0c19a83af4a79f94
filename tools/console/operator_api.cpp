#include "console/operator_api.h"

#include <httplib.h>

#include "common/exchange.h"
#include "common/json_text.h"
#include "common/session.h"
#include "common/vocabulary.h"
#include "console/parameters.h"
#include "console/replies.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

void sendMapEdit(Session& session, MapEditStore& store, const httplib::Request& req, httplib::Response& res) {
    const std::string request = mapEditRequest(jsonBody(req.body), session.options());
    const Json::Value answer = session.request(findByCode(kMapEditCode), request);
    if (refused(answer)) {
        Json::Value body;
        body["error"] = "the robot refused the map edit";
        body["answer"] = answer;
        return reply(res, 422, body);
    }
    store.keep(request);
    reply(res, 200, answer);
}

void lastMapEdit(MapEditStore& store, httplib::Response& res) {
    const std::optional<std::string> last = store.last();
    if (!last) return replyError(res, 404, "no map edit sent to this robot yet");
    res.set_header("Cache-Control", "no-store");
    res.set_content(*last + "\n", "application/json");
}

}  // namespace

void serveOperator(httplib::Server& server, Session& session, OperatorState& state) {
    server.Get("/api/labels", [&state](const httplib::Request&, httplib::Response& res) {
        reply(res, 200, state.codes.labels());
    });
    server.Post("/api/map-edit", [&session, &state](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { sendMapEdit(session, state.mapEdits, req, res); });
    });
    server.Get("/api/map-edit", [&state](const httplib::Request&, httplib::Response& res) {
        guarded(res, [&] { lastMapEdit(state.mapEdits, res); });
    });
}

}  // namespace robocomm::console
