// Commands the parser carries out, at least in part, on the receive thread.
#pragma once

#include "intake/command_table.h"

namespace robocomm {

// 67: sets the clock from the mailbox at once and answers.
void handleTimeData(const CommandSpec& command, const Inbound& in);
// 71: stores the map-edit document in its file, then posts it.
void handleByPassOneData(const CommandSpec& command, const Inbound& in);
// 80: logs its code a second time.
void handleOTA(const CommandSpec& command, const Inbound& in);
// 81: posted only when the data matches its digest; the client hears of a mismatch.
void handleOTAdata(const CommandSpec& command, const Inbound& in);
// 83: logged before it is posted.
void handleFactoryReset(const CommandSpec& command, const Inbound& in);

// The parser's "first Byte : " line.
void printFirstByte(uint8_t code);

}  // namespace robocomm
