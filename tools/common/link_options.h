// The robot-link options every operator tool takes, from the environment
// and the command line, with the same spelling and the same checks. `tool`
// names the program in the usage failures (Failure(Usage)) they throw.
#pragma once

#include <functional>
#include <string>

#include "common/link.h"

namespace robocomm::tools {

// "what (TOOL --help)"
Failure usageFailure(const std::string& tool, const std::string& what);

// The environment sets defaults that the command line overrides:
// ROBOCOMM_HOST, ROBOCOMM_PORT, ROBOCOMM_PASSPHRASE.
void readLinkEnvironment(const std::string& tool, LinkOptions& options);

// Applies --host, --port, --plain, --passphrase, --passphrase-file or
// --timeout; false for any other option. `value` fetches the option's value
// and `flag` checks that a flag came without one.
bool applyLinkOption(const std::string& tool, const std::string& option, const std::function<std::string()>& value,
                     const std::function<bool()>& flag, LinkOptions& options);

double positiveNumber(const std::string& tool, const std::string& option, const std::string& text);
Millis secondsOption(const std::string& tool, const std::string& option, const std::string& text);
uint16_t portNumber(const std::string& tool, const std::string& option, const std::string& text);

// The help lines for those options.
extern const char kLinkOptionsHelp[];

}  // namespace robocomm::tools
