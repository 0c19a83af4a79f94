// Bodies as the console's API takes them: a command's parameters as a JSON
// array (`[2.5, 0.8, 0]` for set target-position), other routes' documents.
#pragma once

#include <json/value.h>

#include <string>

#include "intake/command_table.h"

namespace robocomm::console {

// The request document for `command` with the parameters in `body` (an
// empty body is no parameters). Throws Failure(Usage) with the reason for
// anything else: not an array, a parameter of the wrong kind or count.
std::string commandDocument(const CommandSpec& command, const std::string& body);

// A route's body as one JSON document. Throws Failure(Usage) with the
// reader's errors for anything else.
Json::Value jsonBody(const std::string& body);

}  // namespace robocomm::console
