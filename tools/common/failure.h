// What a tool reports when a command cannot be carried out, with the exit
// status that tells scripts what went wrong.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace robocomm::tools {

enum class Exit {
    Ok = 0,
    Failed = 1,       // the robot answered, but not with success
    Usage = 2,        // bad command line, unknown command name, unusable file
    Unreachable = 3,  // no connection, or the robot closed it
    Timeout = 4,      // the robot stayed silent for too long
    BadData = 5,      // digest mismatch, undecipherable or malformed answer
    Interrupted = 130,  // Ctrl-C, as the shell reports a command ended by SIGINT
};

class Failure : public std::runtime_error {
public:
    Failure(Exit status, const std::string& what) : std::runtime_error(what), status_(status) {}
    Exit status() const { return status_; }

private:
    Exit status_;
};

// What a failure handed on as an exception_ptr says: "" for none,
// "the robot is unreachable: ..." for a Failure or another std::exception.
inline std::string failureText(const std::exception_ptr& failure) {
    if (!failure) return "";
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown failure";
    }
}

// Set by the SIGINT handler; every wait on the robot gives up when it is set.
bool interruptRequested();
// Installs that handler (without SA_RESTART, so a blocked poll wakes up).
void catchInterrupt();
// Throws Failure(Interrupted) once Ctrl-C was pressed.
void checkInterrupt();

}  // namespace robocomm::tools
