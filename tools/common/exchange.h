// One command and its answer, as every operator tool carries it out.
#pragma once

#include <json/value.h>

#include <functional>

#include "common/link.h"
#include "intake/command_table.h"

namespace robocomm::tools {

using MessageSink = std::function<void(const Message&)>;

// Sends the heartbeat after a command that the robot does not answer and
// waits for its answer: proof that the robot read the command. Messages
// that come meanwhile go to `passedBy` (when given).
void confirmDelivery(Link& link, const CommandSpec& command, const MessageSink& passedBy = {});

// The robot's "result": false in a set answer.
bool refused(const Json::Value& document);

}  // namespace robocomm::tools
