// robocomm-client: the operator's command line to a robot running robocomm.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/failure.h"
#include "client/files.h"
#include "client/link.h"
#include "client/vocabulary.h"

using namespace robocomm;
using namespace robocomm::client;

namespace {

constexpr Millis kDefaultWatch{60 * 1000};

const char kUsage[] = R"(usage: robocomm-client [options] COMMAND [ARGS...]

commands:
  get NAME [PARAMS...]   ask the robot for data, e.g. get position
  set NAME [PARAMS...]   order an action, e.g. set target-position 1.5 2 0.3
  send CODE FILE         send the JSON document in FILE as command CODE
  watch [SECONDS]        print the robot's pushes (default 60 s, Ctrl-C stops)
  ota IMAGE              stream a firmware image and wait for the robot's verdict
  log OUT.tar.gz         fetch the robot's log bundle into OUT.tar.gz
  list                   every command name with its parameters

options:
  --host HOST            robot address (default 127.0.0.1)
  --port PORT            robot port (default 10001)
  --plain                the robot runs with encryption off
  --passphrase TEXT      pass phrase of the link cipher (default: the built-in one)
  --timeout SECONDS      longest silence accepted from the robot (default 5)
  --json                 one compact JSON line per result
  --save FILE            write the answer's decoded "data" to FILE (e.g. get map-data)

exit status: 0 done, 1 refused by the robot, 2 usage, 3 unreachable,
4 timeout, 5 bad digest or undecipherable data
)";

Failure usage(const std::string& what) { return Failure(Exit::Usage, what + " (robocomm-client --help)"); }

double positiveNumber(const std::string& option, const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value) || value <= 0)
        throw usage(option + " wants a positive number, not '" + text + "'");
    return value;
}

Millis secondsOption(const std::string& option, const std::string& text) {
    return Millis(static_cast<long long>(positiveNumber(option, text) * 1000));
}

struct CommandLine {
    Settings settings;
    std::vector<std::string> words;
    bool help = false;
};

CommandLine parse(int argc, char** argv) {
    CommandLine line;
    Settings& s = line.settings;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.rfind("--", 0) != 0) {
            line.words.push_back(arg);
            continue;
        }
        const auto value = [&]() -> std::string {
            if (i + 1 >= argc) throw usage(arg + " needs a value");
            return argv[++i];
        };
        if (arg == "--") optionsEnded = true;
        else if (arg == "--help") line.help = true;
        else if (arg == "--plain") s.link.plain = true;
        else if (arg == "--json") s.json = true;
        else if (arg == "--host") s.link.host = value();
        else if (arg == "--passphrase") s.link.passPhrase = value();
        else if (arg == "--save") s.saveTo = value();
        else if (arg == "--timeout") s.link.timeout = secondsOption(arg, value());
        else if (arg == "--port") {
            const double port = positiveNumber(arg, value());
            if (port > 65535 || port != std::floor(port)) throw usage("--port wants a port number");
            s.link.port = static_cast<uint16_t>(port);
        } else
            throw usage("unknown option " + arg);
    }
    return line;
}

// The words after the verb, checked for count.
std::vector<std::string> operands(const CommandLine& line, size_t least, size_t most, const char* shape) {
    const size_t count = line.words.size() - 1;
    if (count < least || count > most) throw usage(std::string("usage: robocomm-client ") + shape);
    return std::vector<std::string>(line.words.begin() + 1, line.words.end());
}

void sendFile(const Settings& settings, const std::string& codeText, const std::string& path) {
    char* end = nullptr;
    errno = 0;
    const long code = std::strtol(codeText.c_str(), &end, 10);
    if (codeText.empty() || *end != '\0' || errno != 0) throw usage("'" + codeText + "' is not a command code");
    const CommandSpec& command = findByCode(static_cast<int>(std::clamp<long>(code, -1, 256)));
    const std::string document = readWholeFile(path);
    Json::Value root;
    std::string errors;
    if (!parseJson(document, root, errors))
        throw Failure(Exit::Usage, path + " is not a JSON document: " + errors);
    runRequest(settings, command, document);
}

void run(const CommandLine& line) {
    const std::string verb = line.words.front();
    const Settings& settings = line.settings;
    if (verb == "get" || verb == "set") {
        const auto args = operands(line, 1, SIZE_MAX, "get|set NAME [PARAMS...]");
        const CommandSpec& command = findByName(verb == "get" ? CommandKind::Get : CommandKind::Set, args[0]);
        if (command.code == kLogDataCode) throw usage("the log bundle comes with: robocomm-client log OUT.tar.gz");
        runRequest(settings, command, requestDocument(command, {args.begin() + 1, args.end()}));
    } else if (verb == "send") {
        const auto args = operands(line, 2, 2, "send CODE FILE");
        sendFile(settings, args[0], args[1]);
    } else if (verb == "watch") {
        const auto args = operands(line, 0, 1, "watch [SECONDS]");
        runWatch(settings, args.empty() ? kDefaultWatch : secondsOption("watch", args[0]));
    } else if (verb == "ota") {
        runOta(settings, operands(line, 1, 1, "ota IMAGE")[0]);
    } else if (verb == "log") {
        runLog(settings, operands(line, 1, 1, "log OUT.tar.gz")[0]);
    } else if (verb == "list") {
        operands(line, 0, 0, "list");
        printCommandList(settings.json);
    } else {
        throw usage("unknown command '" + verb + "'");
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const CommandLine line = parse(argc, argv);
        if (line.help || line.words.empty()) {
            (line.help ? std::cout : std::cerr) << kUsage;
            return line.help ? 0 : static_cast<int>(Exit::Usage);
        }
        run(line);
        return 0;
    } catch (const Failure& failure) {
        std::cerr << "robocomm-client: " << failure.what() << std::endl;
        return static_cast<int>(failure.status());
    } catch (const std::exception& error) {
        std::cerr << "robocomm-client: " << error.what() << std::endl;
        return static_cast<int>(Exit::Failed);
    }
}
