// What the client reports when a command cannot be carried out, with the
// exit status that tells scripts what went wrong.
#pragma once

#include <stdexcept>
#include <string>

namespace robocomm::client {

enum class Exit {
    Ok = 0,
    Failed = 1,       // the robot answered, but not with success
    Usage = 2,        // bad command line, unknown command name
    Unreachable = 3,  // no connection, or the robot closed it
    Timeout = 4,      // the robot stayed silent for too long
    BadData = 5,      // digest mismatch, undecipherable or malformed answer
};

class Failure : public std::runtime_error {
public:
    Failure(Exit status, const std::string& what) : std::runtime_error(what), status_(status) {}
    Exit status() const { return status_; }

private:
    Exit status_;
};

}  // namespace robocomm::client
