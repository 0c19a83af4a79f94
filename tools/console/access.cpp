#include "console/access.h"

#include <httplib.h>

#include <algorithm>
#include <cctype>
#include <regex>

namespace robocomm::console {

namespace {

// The largest bodies taken: a command's parameters are a short JSON array;
// a firmware image is the robot's own limit (its memory).
constexpr size_t kMaxParameters = 64u << 10;
constexpr size_t kMaxImage = 64u << 20;

// A robot's command, or a fleet robot's action.
const std::regex kCommandPath(R"(/api/((get|set)/[A-Za-z0-9_-]+|fleet/[A-Za-z0-9_.:-]+/[a-z-]+))");

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// "application/json; charset=utf-8" -> "application/json".
std::string mediaType(const std::string& contentType) {
    std::string type = lowerCase(contentType.substr(0, contentType.find(';')));
    while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) type.pop_back();
    return type;
}

std::string withPort(const std::string& name, uint16_t port) { return name + ":" + std::to_string(port); }

Refusal refused(int status, const std::string& message) { return {Refusal::Kind::Refused, status, message}; }

// Names, never addresses: a name that resolves to 127.0.0.1 (DNS
// rebinding) is still a foreign name.
std::optional<Refusal> checkHost(const AccessRules& rules, const httplib::Request& req) {
    if (!req.has_header("Host")) return refused(403, "a request without a Host header is refused");
    const std::string host = req.get_header_value("Host");
    if (rules.hosts.count(lowerCase(host))) return std::nullopt;
    return refused(403, "this console does not answer to the host name '" + host +
                            "'; start it with --allow-host NAME to let it answer to NAME");
}

// Only pages of the console's own origin may call it: browsers name the
// calling page in Origin, and scripts cannot forge it.
std::optional<Refusal> checkOrigin(const AccessRules& rules, const httplib::Request& req) {
    if (!req.has_header("Origin")) return std::nullopt;
    const std::string origin = req.get_header_value("Origin");
    const std::string scheme = "http://";
    if (lowerCase(origin.substr(0, scheme.size())) == scheme && rules.hosts.count(lowerCase(origin.substr(scheme.size()))))
        return std::nullopt;
    return refused(403, "requests from pages of " + origin +
                            " are refused; only the console's own page may use it (--allow-host NAME adds a name)");
}

std::string cookieValue(const httplib::Request& req, const std::string& name) {
    const std::string cookies = req.get_header_value("Cookie");
    size_t at = 0;
    while (at < cookies.size()) {
        while (at < cookies.size() && cookies[at] == ' ') ++at;
        const size_t end = std::min(cookies.find(';', at), cookies.size());
        const std::string pair = cookies.substr(at, end - at);
        if (pair.compare(0, name.size() + 1, name + "=") == 0) return pair.substr(name.size() + 1);
        at = end + 1;
    }
    return "";
}

std::optional<Refusal> checkToken(const AccessRules& rules, const httplib::Request& req) {
    if (rules.token.empty()) return std::nullopt;
    const std::string offered[] = {
        req.get_header_value("Authorization"),
        req.get_param_value("token"),
        cookieValue(req, tokenCookie(rules)),
    };
    const std::string bearer = "Bearer " + rules.token;
    if (sameText(offered[0], bearer) || sameText(offered[1], rules.token) || sameText(offered[2], rules.token))
        return std::nullopt;
    if (std::any_of(std::begin(offered), std::end(offered), [](const std::string& text) { return !text.empty(); }))
        return Refusal{Refusal::Kind::WrongToken, 401, "wrong token"};
    if (req.method == "GET" && (req.path == "/" || req.path == "/index.html" || req.path == "/fleet.html"))
        return Refusal{Refusal::Kind::Login, 401, "this console wants its token"};
    return refused(401, "this console wants its token (Authorization: Bearer TOKEN, or open the page as /?token=TOKEN)");
}

// A form or a no-cors fetch of another site can send text/plain and form
// types only; what acts on the robot wants a type that forces the browser
// to ask first (a preflight, which the console never grants).
std::optional<Refusal> checkBody(const httplib::Request& req) {
    if (req.method != "POST") return std::nullopt;
    const bool command = std::regex_match(req.path, kCommandPath);
    const bool image = req.path == "/api/ota";
    if (!command && !image) return std::nullopt;
    const std::string wanted = command ? "application/json" : "application/octet-stream";
    if (mediaType(req.get_header_value("Content-Type")) != wanted)
        return refused(415, "POST " + req.path + " takes Content-Type: " + wanted);
    if (!req.has_header("Content-Length")) return refused(411, "a body needs its Content-Length");
    const std::string length = req.get_header_value("Content-Length");
    const size_t limit = command ? kMaxParameters : kMaxImage;
    if (length.empty() || length.size() > 12 || !std::all_of(length.begin(), length.end(), ::isdigit))
        return refused(400, "Content-Length is not a number");
    if (std::stoull(length) > limit)
        return refused(413, "the body is larger than the " + std::to_string(limit) + " bytes POST " + req.path + " takes");
    return std::nullopt;
}

}  // namespace

std::set<std::string> acceptedHosts(const std::string& listenHost, uint16_t port,
                                    const std::vector<std::string>& allowed) {
    std::set<std::string> hosts = {withPort("127.0.0.1", port), withPort("localhost", port), withPort("[::1]", port)};
    // A wildcard address is no name a browser could use.
    if (listenHost != "0.0.0.0" && listenHost != "::") {
        const bool v6 = listenHost.find(':') != std::string::npos;
        hosts.insert(lowerCase(withPort(v6 ? "[" + listenHost + "]" : listenHost, port)));
    }
    for (const std::string& name : allowed) {
        // Behind a reverse proxy the browser names no port.
        hosts.insert(lowerCase(name));
        hosts.insert(lowerCase(withPort(name, port)));
    }
    // Browsers leave out the default port.
    if (port == 80)
        for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) hosts.insert(name);
    return hosts;
}

std::string tokenCookie(const AccessRules& rules) { return "robocomm-token-" + std::to_string(rules.port); }

std::optional<Refusal> refusal(const AccessRules& rules, const httplib::Request& req) {
    if (auto host = checkHost(rules, req)) return host;
    if (auto origin = checkOrigin(rules, req)) return origin;
    if (auto token = checkToken(rules, req)) return token;
    return checkBody(req);
}

bool tokenInAddress(const AccessRules& rules, const httplib::Request& req) {
    return !rules.token.empty() && sameText(req.get_param_value("token"), rules.token);
}

bool sameText(const std::string& a, const std::string& b) {
    unsigned char difference = a.size() != b.size();
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

}  // namespace robocomm::console
