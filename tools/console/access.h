// Who may use the console, decided from a request's head alone (before its
// body is read): the console's own host names, pages of its own origin, the
// token, and content types that a form or a no-cors fetch of another site
// cannot send. These are plain functions so that the fuzzer reaches them
// without a socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace httplib {
struct Request;
}

namespace robocomm::console {

struct AccessRules {
    // Empty: no token wanted (--no-token, loopback only).
    std::string token;
    // The Host values the console answers to, lower case: "127.0.0.1:8080".
    std::set<std::string> hosts;
    // The port in the cookie's name, so that two consoles on one machine
    // keep their tokens apart (cookies do not tell ports apart).
    uint16_t port = 0;
};

// The Host values of a console listening on listenHost:port: 127.0.0.1,
// localhost and [::1] with the port, the listen address (unless it is a
// wildcard), and each `allowed` name with and without the port.
std::set<std::string> acceptedHosts(const std::string& listenHost, uint16_t port,
                                    const std::vector<std::string>& allowed);

// "robocomm-token-8080": the cookie that carries the token for the page.
std::string tokenCookie(const AccessRules& rules);

struct Refusal {
    enum class Kind {
        Refused,     // answer `status` with `message`
        Login,       // no token on the page's address: the login page
        WrongToken,  // a token that is not this console's: logged, answered late
    };
    Kind kind;
    int status;
    std::string message;
};

// Why the request may not go on, or nullopt when it may.
std::optional<Refusal> refusal(const AccessRules& rules, const httplib::Request& req);

// True when the request proved the token in its address (?token=), which
// the page trades for the cookie.
bool tokenInAddress(const AccessRules& rules, const httplib::Request& req);

// Compares every byte whatever the first difference, so that the time
// taken does not tell how much of a guess was right.
bool sameText(const std::string& a, const std::string& b);

}  // namespace robocomm::console
