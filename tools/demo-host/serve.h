// Connects the simulated robot to the library's mailboxes: every command the
// client can send is polled here and answered from the model.
#pragma once

#include "robot.h"

namespace demo {

// Polls every mailbox once, acts and answers. Returns how many commands
// were served.
int serveMailboxes(Robot& robot);

// Takes the client's acknowledgement of the error push (code 100), and
// repeats the push of open, unacknowledged errors while a client is there.
void serveErrorPushes(Robot& robot, bool clientPresent);

}  // namespace demo
