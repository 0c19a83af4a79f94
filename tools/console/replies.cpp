#include "console/replies.h"

#include <httplib.h>

#include "common/failure.h"
#include "common/json_text.h"
#include "common/session.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

int httpStatus(Exit status) {
    switch (status) {
        case Exit::Usage: return 400;
        case Exit::Failed: return 422;
        case Exit::Timeout: return 504;
        case Exit::Interrupted: return 503;
        case Exit::Ok: return 200;
        case Exit::Unreachable:
        case Exit::BadData: break;
    }
    return 502;
}

}  // namespace

void reply(httplib::Response& res, int status, const Json::Value& body) {
    res.status = status;
    res.set_content(compactJson(body) + "\n", "application/json");
}

void replyError(httplib::Response& res, int status, const std::string& message) {
    Json::Value body;
    body["error"] = message;
    reply(res, status, body);
}

void guarded(httplib::Response& res, const std::function<void()>& handler) {
    try {
        handler();
    } catch (const RobotHeld& held) {
        replyError(res, 409, held.what());
    } catch (const Failure& failure) {
        replyError(res, httpStatus(failure.status()), failure.what());
    } catch (const std::exception& error) {
        replyError(res, 500, error.what());
    }
}

}  // namespace robocomm::console
