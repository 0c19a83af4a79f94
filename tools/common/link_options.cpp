#include "common/link_options.h"

#include <cmath>
#include <cstdlib>

#include "common/files.h"

namespace robocomm::tools {

namespace {

// The first line of the file, without its line end.
std::string passPhraseFrom(const std::string& tool, const std::string& path) {
    const std::string text = readWholeFile(path);
    const std::string line = text.substr(0, text.find('\n'));
    if (line.empty()) throw usageFailure(tool, path + " holds no pass phrase");
    return line;
}

}  // namespace

const char kLinkOptionsHelp[] =
    R"(  --host HOST              robot name or address, IPv4 or IPv6 (default 127.0.0.1; $ROBOCOMM_HOST)
  --port PORT              robot port (default 10001; $ROBOCOMM_PORT)
  --plain                  the robot runs with encryption off
  --passphrase-file FILE   pass phrase of the link cipher, first line of FILE
  --passphrase TEXT        the same on the command line, where ps shows it ($ROBOCOMM_PASSPHRASE)
  --timeout SECONDS        longest silence accepted from the robot (default 5)
)";

Failure usageFailure(const std::string& tool, const std::string& what) {
    return Failure(Exit::Usage, what + " (" + tool + " --help)");
}

double positiveNumber(const std::string& tool, const std::string& option, const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value) || value <= 0)
        throw usageFailure(tool, option + " wants a positive number, not '" + text + "'");
    return value;
}

Millis secondsOption(const std::string& tool, const std::string& option, const std::string& text) {
    return Millis(static_cast<long long>(positiveNumber(tool, option, text) * 1000));
}

uint16_t portNumber(const std::string& tool, const std::string& option, const std::string& text) {
    const double port = positiveNumber(tool, option, text);
    if (port > 65535 || port != std::floor(port))
        throw usageFailure(tool, option + " wants a port number, not '" + text + "'");
    return static_cast<uint16_t>(port);
}

void readLinkEnvironment(const std::string& tool, LinkOptions& options) {
    if (const char* host = std::getenv("ROBOCOMM_HOST"); host && *host) options.host = host;
    if (const char* port = std::getenv("ROBOCOMM_PORT"); port && *port)
        options.port = portNumber(tool, "ROBOCOMM_PORT", port);
    if (const char* phrase = std::getenv("ROBOCOMM_PASSPHRASE"); phrase && *phrase) options.passPhrase = phrase;
}

bool applyLinkOption(const std::string& tool, const std::string& option, const std::function<std::string()>& value,
                     const std::function<bool()>& flag, LinkOptions& options) {
    if (option == "--plain") options.plain = flag();
    else if (option == "--host") options.host = value();
    else if (option == "--passphrase") options.passPhrase = value();
    else if (option == "--passphrase-file") options.passPhrase = passPhraseFrom(tool, value());
    else if (option == "--timeout") options.timeout = secondsOption(tool, option, value());
    else if (option == "--port") options.port = portNumber(tool, option, value());
    else return false;
    return true;
}

}  // namespace robocomm::tools
