// robocomm-console: the robot in a browser. One client on the robot link,
// one web page (and its HTTP API) for the operator.
#include <httplib.h>
#include <signal.h>

#include <iostream>
#include <string>
#include <thread>

#include "common/link_options.h"
#include "common/tool_main.h"
#include "console/events.h"
#include "console/http_api.h"
#include "console/operator_api.h"
#include "console/robot_events.h"

using namespace robocomm;
using namespace robocomm::console;
using namespace robocomm::tools;

namespace {

const char kTool[] = "robocomm-console";

const std::string kUsage = std::string(R"(usage: robocomm-console [options]

Connects to a robot and serves its web console (and an HTTP API) to a browser.

options (--opt VALUE or --opt=VALUE):
)") + kLinkOptionsHelp + R"(  --listen ADDR:PORT       where the console serves HTTP (default 127.0.0.1:8080; [ADDR]:PORT for IPv6)
  --token TEXT             require TEXT on every request (Authorization: Bearer TEXT, or ?token=TEXT)
  --labels FILE            names and severities of the robot's codes (robot-codes.json layout), over the built-in ones
  --state-dir DIR          where the console keeps the last map edit per robot
                           (default $STATE_DIRECTORY, $XDG_STATE_HOME/robocomm-console or ~/.local/state/robocomm-console)
  -h, --help               this text
  --version                the console's library version

The robot serves one client at a time: while the console runs, it is that client.
)";

struct Settings {
    LinkOptions link;
    std::string listenHost = "127.0.0.1";
    uint16_t listenPort = 8080;
    std::string token;
    RobotCodes codes = RobotCodes::builtIn();
    std::string stateFolder = defaultStateFolder();
    bool help = false;
    bool version = false;
};

void parseListen(const std::string& text, Settings& s) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) throw usageFailure(kTool, "--listen wants ADDR:PORT, not '" + text + "'");
    std::string host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    s.listenHost = host;
    s.listenPort = portNumber(kTool, "--listen", text.substr(colon + 1));
}

Settings parse(int argc, char** argv) {
    Settings s;
    readLinkEnvironment(kTool, s.link);
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const size_t equals = word.find('=');
        const std::string arg = word.substr(0, equals);
        const bool inlineValue = equals != std::string::npos;
        const auto value = [&]() -> std::string {
            if (inlineValue) return word.substr(equals + 1);
            if (i + 1 >= argc) throw usageFailure(kTool, arg + " needs a value");
            return argv[++i];
        };
        const auto flag = [&]() {
            if (inlineValue) throw usageFailure(kTool, arg + " takes no value");
            return true;
        };
        if (arg == "--help" || arg == "-h") s.help = flag();
        else if (arg == "--version") s.version = flag();
        else if (arg == "--listen") parseListen(value(), s);
        else if (arg == "--token") s.token = value();
        else if (arg == "--labels") s.codes.applyFile(value());
        else if (arg == "--state-dir") s.stateFolder = value();
        else if (!applyLinkOption(kTool, arg, value, flag, s.link)) throw usageFailure(kTool, "unknown argument " + word);
    }
    return s;
}

bool loopback(const std::string& host) {
    return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

std::string address(const Settings& s) {
    const bool v6 = s.listenHost.find(':') != std::string::npos;
    return "http://" + (v6 ? "[" + s.listenHost + "]" : s.listenHost) + ":" + std::to_string(s.listenPort) + "/";
}

int serve(const Settings& s) {
    if (!loopback(s.listenHost)) {
        std::cerr << "robocomm-console: warning: listening on " << s.listenHost
                  << ": anyone who reaches this port can drive the robot"
                  << (s.token.empty() ? "; --token TEXT makes the console ask for a token" : "") << std::endl;
    }
    // Ctrl-C and SIGTERM are taken by a thread of their own, which stops the
    // server in an orderly way; a signal handler could not.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN);  // a browser may leave while its answer is on the way

    EventHub events;
    RobotEvents robotEvents(events, s.link);
    Session session(s.link, consolePlan(), robotEvents);
    httplib::Server server;
    // Each open page holds one worker with its event stream.
    server.new_task_queue = [] { return new httplib::ThreadPool(16); };
    serveConsole(server, session, events, s.token);
    MapEditStore mapEdits(s.stateFolder, s.link);
    OperatorState operatorState{s.codes, mapEdits};
    serveOperator(server, session, operatorState);
    if (!server.bind_to_port(s.listenHost, s.listenPort)) {
        std::cerr << "robocomm-console: cannot listen on " << s.listenHost << " port " << s.listenPort << std::endl;
        return static_cast<int>(Exit::Usage);
    }
    std::thread stopper([&] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        events.close();
        server.stop();
    });
    std::cout << "robocomm-console: robot " << s.link.host << " port " << s.link.port << "; open " << address(s)
              << (s.token.empty() ? "" : "?token=...") << std::endl;
    server.listen_after_bind();
    // Also reached when listening failed: wake the stopper so it can be joined.
    pthread_kill(stopper.native_handle(), SIGTERM);
    stopper.join();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    return toolMain(
        kTool, kUsage,
        [&] {
            settings = parse(argc, argv);
            return ToolRequest{settings.help, settings.version};
        },
        [&] { return serve(settings); });
}
