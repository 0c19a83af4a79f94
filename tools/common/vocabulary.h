// The command vocabulary as the operator types it: kebab-case names for the
// library's command table, and the request documents built from arguments.
#pragma once

#include <string>
#include <vector>

#include "intake/command_table.h"

namespace robocomm::tools {

// The log bundle comes as a stream, not as an answer document.
constexpr uint8_t kLogDataCode = 26;

// States in the robot's firmware pushes (code 81, kind 15).
constexpr int kOtaReceived = 2;
constexpr int kOtaChecksumFailed = 15;

// The heartbeat: answered by every host, so it also proves that the robot
// is reading this connection.
constexpr uint8_t kHeartbeatCode = 64;
// The client's acknowledgement of an error push, and the push's own code.
constexpr uint8_t kErrorCode = 100;
// The map edit, a document too rich for the command line.
constexpr uint8_t kMapEditCode = 71;

// The command of this kind with this name or code ("target-position", "60");
// in names, case, '-' and '_' do not matter. Throws Failure(Usage) for an
// unknown one, suggesting the nearest name.
const CommandSpec& commandFor(CommandKind kind, const std::string& nameOrCode);
// Throws Failure(Usage) for a code outside the table.
const CommandSpec& findByCode(long long code);

// "target-position", the name the operator types.
std::string kebabName(const CommandSpec& command);
// "set target-position <x> <y> <theta>"
std::string synopsis(const CommandSpec& command);
// "x: number in m, set: 0/1/true/false": what each parameter takes.
std::string parameterHelp(const CommandSpec& command);
// "integer", "number", "0/1/true/false", "text", ...: what a parameter takes.
std::string parameterType(const ParamSpec& param);
// Its unit as the demo host reads it ("m", "rad", ...), or empty.
std::string parameterUnit(const ParamSpec& param);
// What sets the command apart from the plain get or set, or empty.
std::string remark(const CommandSpec& command);

// The request document for the command, parameters taken from `args` in
// table order. Throws Failure(Usage) for a wrong count or a bad value.
std::string requestDocument(const CommandSpec& command, const std::vector<std::string>& args);

// The code the answer comes under: a command that shares its name with an
// earlier one (101, a second LidarSensorStatus) is answered as that one.
uint8_t answerCode(const CommandSpec& command);
// Commands the robot takes without answering.
bool expectsAnswer(const CommandSpec& command);

}  // namespace robocomm::tools
