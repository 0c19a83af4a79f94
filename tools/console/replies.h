// The console's answer shapes, shared by every route: a JSON body, and
// errors as {"error": "..."} with the HTTP status that fits the failure.
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

// Runs a handler that reaches the robot, turning its failure into an
// error reply with the status that fits (409 while another client holds
// the robot, 400 for a bad request, 504 for a robot that kept silent...).
void guarded(httplib::Response& res, const std::function<void()>& handler);

}  // namespace robocomm::console
