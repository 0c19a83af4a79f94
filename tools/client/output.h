// What the client prints. Readable lines by default; with --json one JSON
// object per line of one shape for every command:
//   {"name": kebab name, "code": command code, "answer": the robot's document}
//   {"name": ..., "code": ..., "outcome": a word, ...details}
// Notes and errors go to stderr, as JSON objects under --json.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <string>

#include "common/failure.h"
#include "intake/command_table.h"

namespace robocomm::client {

class Output {
public:
    explicit Output(bool json) : json_(json) {}
    bool json() const { return json_; }

    // The robot's document in answer to (or pushed under) the command.
    // `details` join the JSON line; `prefix` starts the readable one.
    void answer(const CommandSpec& command, const Json::Value& document, std::ostream& to,
                const Json::Value& details = Json::Value(), const std::string& prefix = "") const;
    // What came of a command that has no answer document of its own.
    void outcome(const CommandSpec& command, const std::string& outcome, const Json::Value& details,
                 const std::string& readable, std::ostream& to) const;
    void note(const std::string& text) const;
    void error(const tools::Failure& failure) const;

private:
    bool json_;
};

}  // namespace robocomm::client
