#include "console/access.h"

#include <httplib.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace robocomm::console {

namespace {

// The largest bodies taken: a command's parameters are a short JSON array
// (a velocity to drive by hand a short JSON object);
// a firmware image is the robot's own limit (its memory).
constexpr size_t kMaxParameters = 64u << 10;
constexpr size_t kMaxImage = 64u << 20;
// A map edit goes in one frame of 32 KiB; a larger one, laid out for
// reading, still reaches the route that says by how much it is too large.
constexpr size_t kMaxMapEdit = 1u << 20;

bool commandChar(unsigned char c) { return std::isalnum(c) || c == '_' || c == '-'; }
bool robotChar(unsigned char c) { return std::isalnum(c) || std::strchr("_.:-", c) != nullptr; }
bool actionChar(unsigned char c) { return std::islower(c) || c == '-'; }

bool madeOf(const std::string& text, bool (*allowed)(unsigned char)) {
    return !text.empty() && std::all_of(text.begin(), text.end(), allowed);
}

bool startsWith(const std::string& text, const std::string& prefix) { return text.compare(0, prefix.size(), prefix) == 0; }

// A robot's command (/api/get/NAME, /api/set/NAME) or a fleet robot's action
// (/api/fleet/ROBOT/ACTION), as their routes match them. Read by hand: g++ 12
// warns inside std::regex under the sanitizers, and warnings fail the build.
bool isCommandPath(const std::string& path) {
    const std::string get = "/api/get/", set = "/api/set/", fleet = "/api/fleet/";
    if (startsWith(path, get) || startsWith(path, set)) return madeOf(path.substr(get.size()), commandChar);
    if (!startsWith(path, fleet)) return false;
    const size_t slash = path.find('/', fleet.size());
    return slash != std::string::npos && madeOf(path.substr(fleet.size(), slash - fleet.size()), robotChar) &&
           madeOf(path.substr(slash + 1), actionChar);
}

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

// What a POST route takes: its content type and its largest body.
struct BodyRule {
    const char* type;
    size_t limit;
};

std::optional<BodyRule> bodyRule(const std::string& path) {
    if (isCommandPath(path)) return BodyRule{"application/json", kMaxParameters};
    if (path == "/api/ota") return BodyRule{"application/octet-stream", kMaxImage};
    if (path == "/api/map-edit") return BodyRule{"application/json", kMaxMapEdit};
    if (path == "/api/sensors/lease") return BodyRule{"application/json", kMaxParameters};
    if (path == "/api/teleop") return BodyRule{"application/json", kMaxParameters};
    return std::nullopt;
}

// A form or a no-cors fetch of another site can send text/plain and form
// types only; what acts on the robot wants a type that forces the browser
// to ask first (a preflight, which the console never grants).
std::optional<Refusal> checkBody(const httplib::Request& req) {
    if (req.method != "POST") return std::nullopt;
    const std::optional<BodyRule> rule = bodyRule(req.path);
    if (!rule) return std::nullopt;
    if (mediaType(req.get_header_value("Content-Type")) != rule->type)
        return refused(415, "POST " + req.path + " takes Content-Type: " + rule->type);
    if (!req.has_header("Content-Length")) return refused(411, "a body needs its Content-Length");
    const std::string length = req.get_header_value("Content-Length");
    if (length.empty() || length.size() > 12 || !std::all_of(length.begin(), length.end(), ::isdigit))
        return refused(400, "Content-Length is not a number");
    if (std::stoull(length) > rule->limit)
        return refused(413, "the body is larger than the " + std::to_string(rule->limit) + " bytes POST " + req.path +
                                " takes");
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
