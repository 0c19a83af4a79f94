#include "common/broker_options.h"

#include "common/files.h"
#include "common/link_options.h"

namespace robocomm::tools {

const char kBrokerOptionsHelp[] = R"(  --broker-user NAME          user name at the broker
  --broker-password-file FILE the broker password, first line of FILE
  --ca-file FILE              speak TLS to the broker, trusting this CA certificate
  --interface NAME            first topic level (default uagv)
  --manufacturer NAME         third topic level and header field (default robocomm)
)";

namespace {

std::string firstLine(const std::string& path) {
    const std::string text = readWholeFile(path);
    return text.substr(0, text.find('\n'));
}

}  // namespace

std::pair<std::string, uint16_t> hostAndPort(const char* tool, const std::string& option, const std::string& text) {
    std::string host = text;
    uint16_t port = 0;
    const size_t colon = text.rfind(':');
    const bool bracketed = !text.empty() && text.front() == '[';
    if (colon != std::string::npos && (bracketed ? text[colon - 1] == ']' : text.find(':') == colon)) {
        host = text.substr(0, colon);
        port = portNumber(tool, option, text.substr(colon + 1));
    }
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    if (host.empty()) throw usageFailure(tool, option + " wants HOST[:PORT], not '" + text + "'");
    return {host, port};
}

void setBrokerAddress(const char* tool, const std::string& option, const std::string& text, BrokerOptions& broker) {
    const auto [host, port] = hostAndPort(tool, option, text);
    broker.host = host;
    broker.port = port;
}

bool applyBrokerOption(const std::string& option, const std::function<std::string()>& value, BrokerOptions& broker,
                       Identity& topics) {
    if (option == "--broker-user") broker.user = value();
    else if (option == "--broker-password-file") broker.password = firstLine(value());
    else if (option == "--ca-file") broker.caFile = value();
    else if (option == "--interface") topics.interfaceName = value();
    else if (option == "--manufacturer") topics.manufacturer = value();
    else return false;
    return true;
}

}  // namespace robocomm::tools
