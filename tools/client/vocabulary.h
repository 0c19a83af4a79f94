// The command vocabulary as the operator types it: kebab-case names for the
// library's command table, and the request documents built from arguments.
#pragma once

#include <string>
#include <vector>

#include "intake/command_table.h"

namespace robocomm::client {

// The log bundle comes as a stream, not as an answer document.
constexpr uint8_t kLogDataCode = 26;

// States in the robot's firmware pushes (code 81, kind 15).
constexpr int kOtaReceived = 2;
constexpr int kOtaChecksumFailed = 15;

// The command of this kind with this name; case, '-' and '_' do not matter.
// Throws Failure(Usage) for an unknown name.
const CommandSpec& findByName(CommandKind kind, const std::string& name);
// Throws Failure(Usage) for a code outside the table.
const CommandSpec& findByCode(int code);

// "set target-position <x> <y> <theta>"
std::string synopsis(const CommandSpec& command);

// The request document for the command, parameters taken from `args` in
// table order. Throws Failure(Usage) for a wrong count or a bad value.
std::string requestDocument(const CommandSpec& command, const std::vector<std::string>& args);

// The code the answer comes under: a command that shares its name with an
// earlier one (101, a second LidarSensorStatus) is answered as that one.
uint8_t answerCode(const CommandSpec& command);
// Commands the robot takes without answering.
bool expectsAnswer(const CommandSpec& command);

}  // namespace robocomm::client
