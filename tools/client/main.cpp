// robocomm-client: the operator's command line to a robot running robocomm.
#include <robocomm/link.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "client/commands.h"
#include "common/files.h"
#include "common/link_options.h"
#include "common/vocabulary.h"

using namespace robocomm;
using namespace robocomm::client;
using namespace robocomm::tools;

namespace {

constexpr Millis kDefaultWatch{60 * 1000};

const std::string kUsage = std::string(R"(usage: robocomm-client [options] COMMAND [ARGS...]

commands:
  get NAME|CODE [PARAMS...]  ask the robot for data, e.g. get position
  set NAME|CODE [PARAMS...]  order an action, e.g. set target-position 1.5 2 0.3
  send CODE FILE             send the JSON document in FILE as command CODE
  watch [SECONDS]            print the robot's pushes (default 60 s, Ctrl-C stops)
  ota IMAGE                  stream a firmware image and wait for the robot's verdict
  log OUT.tar.gz             fetch the robot's log bundle into OUT.tar.gz ('-': stdout)
  list                       every command with its code, parameters and units

options (--opt VALUE or --opt=VALUE):
)") + kLinkOptionsHelp + R"(  --json                   one JSON object per line, for scripts; errors as JSON on stderr
  --save FILE              write the answer's decoded "data" to FILE ('-': stdout)
  --acknowledge            watch: acknowledge each error push (command 100)
  --no-reconnect           watch: exit when the robot drops the link
  -h, --help               this text
  --version                the client's library version

The robot serves one client at a time: while another is connected, this one
waits unanswered.

exit status: 0 done, 1 refused by the robot, 2 usage, 3 unreachable,
4 timeout, 5 bad digest or undecipherable data, 130 interrupted (Ctrl-C;
it ends watch with 0)
)";

const char kTool[] = "robocomm-client";

Failure usage(const std::string& what) { return usageFailure(kTool, what); }

enum class Request { Run, Help, Version };

struct CommandLine {
    Settings settings;
    std::vector<std::string> words;
    Request request = Request::Run;
};

CommandLine parse(int argc, char** argv) {
    CommandLine line;
    Settings& s = line.settings;
    readLinkEnvironment(kTool, s.link);
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (optionsEnded || word.size() < 2 || word[0] != '-' || (word[1] != '-' && word != "-h")) {
            line.words.push_back(word);
            continue;
        }
        const size_t equals = word.find('=');
        const std::string arg = word.substr(0, equals);
        const bool inlineValue = equals != std::string::npos;
        const auto value = [&]() -> std::string {
            if (inlineValue) return word.substr(equals + 1);
            if (i + 1 >= argc) throw usage(arg + " needs a value");
            return argv[++i];
        };
        const auto flag = [&]() {
            if (inlineValue) throw usage(arg + " takes no value");
            return true;
        };
        if (arg == "--") optionsEnded = flag();
        else if (arg == "--help" || arg == "-h") line.request = flag() ? Request::Help : Request::Run;
        else if (arg == "--version") line.request = flag() ? Request::Version : Request::Run;
        else if (applyLinkOption(kTool, arg, value, flag, s.link)) continue;
        else if (arg == "--json") s.json = flag();
        else if (arg == "--acknowledge") s.acknowledge = flag();
        else if (arg == "--no-reconnect") s.reconnect = !flag();
        else if (arg == "--save") s.saveTo = value();
        else throw usage("unknown option " + arg);
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
    const long long code = std::strtoll(codeText.c_str(), &end, 10);
    if (codeText.empty() || *end != '\0' || errno != 0) throw usage("'" + codeText + "' is not a command code");
    const CommandSpec& command = findByCode(code);
    const std::string document = readWholeFile(path);
    Json::Value root;
    std::string errors;
    if (!parseJson(document, root, errors)) throw Failure(Exit::Usage, path + " is not a JSON document: " + errors);
    runRequest(settings, command, document);
}

void runCommand(const CommandSpec& command, const Settings& settings, const std::vector<std::string>& params) {
    if (command.code == kLogDataCode) throw usage("the log bundle comes with: robocomm-client log OUT.tar.gz");
    if (command.code == kMapEditCode) throw usage("the map edit comes from a file: robocomm-client send 71 FILE");
    runRequest(settings, command, requestDocument(command, params));
}

void run(const CommandLine& line) {
    const std::string verb = line.words.front();
    const Settings& settings = line.settings;
    if (verb == "get" || verb == "set") {
        const auto args = operands(line, 1, SIZE_MAX, "get|set NAME|CODE [PARAMS...]");
        const CommandSpec& command = commandFor(verb == "get" ? CommandKind::Get : CommandKind::Set, args[0]);
        runCommand(command, settings, {args.begin() + 1, args.end()});
    } else if (verb == "send") {
        const auto args = operands(line, 2, 2, "send CODE FILE");
        sendFile(settings, args[0], args[1]);
    } else if (verb == "watch") {
        const auto args = operands(line, 0, 1, "watch [SECONDS]");
        runWatch(settings, args.empty() ? kDefaultWatch : secondsOption(kTool, "watch", args[0]));
    } else if (verb == "ota") {
        runOta(settings, operands(line, 1, 1, "ota IMAGE")[0]);
    } else if (verb == "log") {
        runLog(settings, operands(line, 1, 1, "log OUT.tar.gz")[0]);
    } else if (verb == "list") {
        operands(line, 0, 0, "list");
        printCommandList(Output(settings.json));
    } else {
        throw usage("unknown command '" + verb + "'");
    }
}

// Whether --json was asked for, so that even a failure to parse the rest
// of the line is reported as JSON.
bool wantsJson(int argc, char** argv) {
    for (int i = 1; i < argc && std::string(argv[i]) != "--"; ++i)
        if (std::string(argv[i]) == "--json") return true;
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    const Output out(wantsJson(argc, argv));
    catchInterrupt();
    try {
        const CommandLine line = parse(argc, argv);
        if (line.request == Request::Version) {
            std::string version;
            APIGetVersion(version);
            std::cout << "robocomm-client, robocomm library " << version << std::endl;
            return 0;
        }
        if (line.request == Request::Help || line.words.empty()) {
            (line.request == Request::Help ? std::cout : std::cerr) << kUsage;
            return line.request == Request::Help ? 0 : static_cast<int>(Exit::Usage);
        }
        run(line);
        return 0;
    } catch (const Failure& failure) {
        out.error(failure);
        return static_cast<int>(failure.status());
    } catch (const std::exception& error) {
        out.error(Failure(Exit::Failed, error.what()));
        return static_cast<int>(Exit::Failed);
    }
}
