// Connects the simulated robot to the library's mailboxes: every command the
// client can send is polled here and answered from the model.
#pragma once

#include <ostream>

#include "robot.h"

namespace demo {

// Polls every mailbox once, acts and answers. Returns how many commands
// were served. Each command that acts (every one but the gets without
// parameters, which the console polls all the time) leaves its name on a
// line of `record` as it comes: "set target-position"; a manual drive with
// the speeds it was told: "set motor-manual-vw 0.3 -0.5".
int serveMailboxes(Robot& robot, std::ostream& record);

// Takes the client's acknowledgement of the error push (code 100), and
// repeats the push of open, unacknowledged errors while a client is there.
void serveErrorPushes(Robot& robot, bool clientPresent);

}  // namespace demo
