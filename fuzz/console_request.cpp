// The console's handling of a request above the socket: the access checks
// (Host, Origin, token, content type, length) and, for a request they
// admit, the route's reading of its command name and parameter array.
// Input: the request as it would come, "METHOD PATH\n", header lines
// "Name: value\n", an empty line, then the body; a path's query string
// becomes parameters. Every refusal must be a 4xx, and a route may fail
// only with a tools::Failure (an HTTP 4xx), never with a 500.
#include <httplib.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/failure.h"
#include "common/vocabulary.h"
#include "console/access.h"
#include "console/parameters.h"

using namespace robocomm;
using namespace robocomm::console;

namespace {

const AccessRules& rules() {
    static const AccessRules kRules = [] {
        AccessRules r;
        r.token = "0123456789abcdef0123456789abcdef";
        r.hosts = acceptedHosts("127.0.0.1", 8080, {"console.example"});
        r.port = 8080;
        return r;
    }();
    return kRules;
}

// The next line from `at` on (empty past the end), moving `at` past it.
std::string line(const std::string& text, size_t& at) {
    if (at > text.size()) return "";
    const size_t end = std::min(text.find('\n', at), text.size());
    const std::string piece = text.substr(at, end - at);
    at = end + 1;
    return piece;
}

httplib::Request requestFrom(const std::string& text) {
    httplib::Request req;
    size_t at = 0;
    const std::string first = line(text, at);
    const size_t space = first.find(' ');
    req.method = first.substr(0, space);
    const std::string target = space == std::string::npos ? "" : first.substr(space + 1);
    const size_t query = target.find('?');
    req.path = target.substr(0, query);
    if (query != std::string::npos) httplib::detail::parse_query_text(target.substr(query + 1), req.params);
    for (std::string header = line(text, at); !header.empty() && at <= text.size(); header = line(text, at)) {
        const size_t colon = header.find(':');
        if (colon == std::string::npos) continue;
        const size_t value = header.find_first_not_of(' ', colon + 1);
        req.headers.emplace(header.substr(0, colon), value == std::string::npos ? "" : header.substr(value));
    }
    if (at < text.size()) req.body = text.substr(at);
    return req;
}

// What the command route does with a request before it reaches the robot.
void routeCommand(const httplib::Request& req) {
    const std::string prefix[] = {"/api/get/", "/api/set/"};
    for (int kind = 0; kind < 2; ++kind) {
        if (req.path.rfind(prefix[kind], 0) != 0) continue;
        try {
            const CommandSpec& command =
                tools::commandFor(kind == 0 ? CommandKind::Get : CommandKind::Set, req.path.substr(prefix[kind].size()));
            commandDocument(command, req.body);
        } catch (const tools::Failure& failure) {
            if (failure.status() != tools::Exit::Usage) std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const httplib::Request req = requestFrom(std::string(reinterpret_cast<const char*>(data), size));
    const auto refused = refusal(rules(), req);
    if (refused && (refused->status < 400 || refused->status > 499)) std::abort();
    tokenInAddress(rules(), req);
    if (!refused && req.method == "POST") routeCommand(req);
    return 0;
}
