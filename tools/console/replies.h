// The console's answers: JSON, and {"error": "..."} with the HTTP status
// that fits the failure, the same for every route.
#pragma once

#include <json/value.h>

#include <functional>
#include <string>

namespace httplib {
struct Response;
}

namespace robocomm::console {

void reply(httplib::Response& res, int status, const Json::Value& body);
void replyError(httplib::Response& res, int status, const std::string& message);

// Runs a handler that reaches a robot, turning its failure into an error
// reply with the status that fits.
void guarded(httplib::Response& res, const std::function<void()>& handler);

}  // namespace robocomm::console
