// The MQTT options every fleet tool takes (the broker's address, which
// each names its own way, --broker-user, --broker-password-file, --ca-file,
// and the topics' --interface and --manufacturer), parsed one way for all.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "common/mqtt_link.h"
#include "common/vda_topics.h"

namespace robocomm::tools {

extern const char kBrokerOptionsHelp[];

// "host", "host:1883", "[::1]:1883"; port 0 when none is given. Throws
// Failure(Usage) naming `tool` and `option` for anything else.
std::pair<std::string, uint16_t> hostAndPort(const char* tool, const std::string& option, const std::string& text);

// The broker's address from `option`'s HOST[:PORT] (port 0: the default).
void setBrokerAddress(const char* tool, const std::string& option, const std::string& text, BrokerOptions& broker);

// Applies one of the options but the address; false for an option that is
// not one.
// `topics` takes the interface and manufacturer (its serial is left alone).
bool applyBrokerOption(const std::string& option, const std::function<std::string()>& value, BrokerOptions& broker,
                       Identity& topics);

}  // namespace robocomm::tools
