// Connects the simulated robot to the library's mailboxes: every command the
// client can send is polled here and answered from the model.
#pragma once

#include <ostream>

#include "outbox.h"
#include "robot.h"

namespace demo {

// Polls every mailbox once, acts, and hands the answers to `outbox`.
// Returns how many commands were served. Each command that acts (every one
// but the gets without parameters, which the console polls all the time)
// leaves its name on a line of `record` as it comes: "set target-position";
// a manual drive with the speeds it was told: "set motor-manual-vw 0.3 -0.5".
int serveMailboxes(Robot& robot, std::ostream& record, Outbox& outbox);

// Takes the client's acknowledgement of the error push (code 100), and
// repeats the push of open, unacknowledged errors while a client is there
// (once a second, and never while the last push is still being sent).
void serveErrorPushes(Robot& robot, bool clientPresent, Outbox& outbox);

}  // namespace demo
