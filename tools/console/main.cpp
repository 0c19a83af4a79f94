// robocomm-console: the robot in a browser. One client on the robot link,
// one web page (and its HTTP API) for the operator.
#include <httplib.h>
#include <signal.h>
#include <sys/random.h>

#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common/broker_options.h"
#include "common/json_text.h"
#include "common/link_options.h"
#include "common/tool_main.h"
#include "console/access.h"
#include "console/events.h"
#include "console/fleet_api.h"
#include "console/fleet_watch.h"
#include "console/history.h"
#include "console/http_api.h"
#include "console/listeners.h"
#include "console/operator_api.h"
#include "console/readings_api.h"
#include "console/robot_events.h"
#include "console/sensors.h"
#include "console/teleop_api.h"

using namespace robocomm;
using namespace robocomm::console;
using namespace robocomm::tools;

namespace {

const char kTool[] = "robocomm-console";

const std::string kUsage = std::string(R"(usage: robocomm-console [options]
       robocomm-console --fleet BROKER[:PORT] [options]

Connects to a robot and serves its web console (and an HTTP API) to a browser.
With --fleet it serves the fleet page instead: every robot on a VDA 5050
broker (robocomm-fleet's), reached through the broker only.

options (--opt VALUE or --opt=VALUE):
)") + kLinkOptionsHelp + R"(  --fleet BROKER[:PORT]    watch the fleet on this MQTT broker (1883, or 8883 with --ca-file), not one robot
)" + kBrokerOptionsHelp + R"(  --listen ADDR:PORT       where the console serves HTTP (default 127.0.0.1:8080; [ADDR]:PORT for IPv6)
  --token TEXT             the token every request must carry (default: a random one, made at start)
  --token-file FILE        the token is the first line of FILE
  --no-token               ask for no token (only while the console listens on loopback)
  --allow-host NAME        answer to the host name NAME too (repeatable; for a console reached by name)
  --labels FILE            names and severities of the robot's codes (robot-codes.json layout), over the built-in ones
  --state-dir DIR          where the console keeps the last map edit per robot
                           (default $STATE_DIRECTORY, $XDG_STATE_HOME/robocomm-console or ~/.local/state/robocomm-console)
  --max-linear M/S         the fastest the operator drives by hand, forward or back (default )" +
                           numberText(kDefaultMaxLinear) + R"()
  --max-angular RAD/S      the fastest the operator turns by hand (default )" +
                           numberText(kDefaultMaxAngular) + R"()
  -h, --help               this text
  --version                the console's library version

The robot serves one client at a time: while the console runs, it is that client.
)";

struct Settings {
    LinkOptions link;
    bool fleet = false;
    BrokerOptions broker;
    // The fleet's interface and manufacturer.
    Identity topics;
    std::string listenHost = "127.0.0.1";
    uint16_t listenPort = 8080;
    std::string token;
    bool noToken = false;
    std::vector<std::string> allowedHosts;
    RobotCodes codes = RobotCodes::builtIn();
    std::string stateFolder = defaultStateFolder();
    TeleopLimits teleop;
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

std::string givenToken(const std::string& token) {
    if (token.empty()) throw usageFailure(kTool, "the token is empty; --no-token asks for none");
    return token;
}

std::string tokenFromFile(const std::string& path) {
    std::ifstream file(path);
    std::string token;
    if (!file || !std::getline(file, token)) throw usageFailure(kTool, "cannot read a token from " + path);
    if (!token.empty() && token.back() == '\r') token.pop_back();
    return token;
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
        else if (arg == "--token") s.token = givenToken(value());
        else if (arg == "--token-file") s.token = givenToken(tokenFromFile(value()));
        else if (arg == "--no-token") s.noToken = flag();
        else if (arg == "--allow-host") s.allowedHosts.push_back(value());
        else if (arg == "--labels") s.codes.applyFile(value());
        else if (arg == "--state-dir") s.stateFolder = value();
        else if (arg == "--max-linear") s.teleop.linear = positiveNumber(kTool, arg, value());
        else if (arg == "--max-angular") s.teleop.angular = positiveNumber(kTool, arg, value());
        else if (arg == "--fleet") {
            setBrokerAddress(kTool, arg, value(), s.broker);
            s.fleet = true;
        } else if (!applyBrokerOption(arg, value, s.broker, s.topics) && !applyLinkOption(kTool, arg, value, flag, s.link))
            throw usageFailure(kTool, "unknown argument " + word);
    }
    if (s.noToken && !s.token.empty()) throw usageFailure(kTool, "--no-token goes with no --token or --token-file");
    return s;
}

bool loopback(const std::string& host) {
    return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

// The address to open on this machine: a wildcard is no name the console
// answers to, 127.0.0.1 is.
std::string address(const Settings& s) {
    const bool wildcard = s.listenHost == "0.0.0.0" || s.listenHost == "::";
    const std::string host = wildcard ? "127.0.0.1" : s.listenHost;
    const bool v6 = host.find(':') != std::string::npos;
    return "http://" + (v6 ? "[" + host + "]" : host) + ":" + std::to_string(s.listenPort) + "/";
}

// At least 128 bits from the system's random source, as hex (safe in a URL).
std::string randomToken() {
    unsigned char bytes[24];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        throw Failure(Exit::Failed, "cannot make a token: the system's random source failed");
    static const char kHex[] = "0123456789abcdef";
    std::string token;
    for (const unsigned char byte : bytes) {
        token += kHex[byte >> 4];
        token += kHex[byte & 15];
    }
    return token;
}

AccessRules accessRules(const Settings& s) {
    if (s.noToken && !loopback(s.listenHost))
        throw usageFailure(kTool, "--no-token is refused while listening on " + s.listenHost +
                                      ": anyone who reaches the port could drive the robot");
    AccessRules rules;
    rules.token = s.noToken ? "" : s.token.empty() ? randomToken() : s.token;
    rules.hosts = acceptedHosts(s.listenHost, s.listenPort, s.allowedHosts);
    rules.port = s.listenPort;
    return rules;
}

// What a console serves: one robot through its session, or a fleet through
// its broker. Each part lives as long as the server.
struct Served {
    std::unique_ptr<RobotEvents> robotEvents;
    std::unique_ptr<History> history;
    std::unique_ptr<SessionListeners> listeners;
    std::unique_ptr<Session> session;
    std::unique_ptr<SensorPolls> sensors;
    std::unique_ptr<MapEditStore> mapEdits;
    std::unique_ptr<OperatorState> operatorState;
    std::unique_ptr<FleetWatch> fleet;
    std::string subject;  // "robot HOST port PORT"
    // Last, so that it goes first and its zero still finds the session.
    std::unique_ptr<TeleopDesk> teleop;
};

Served serveRobot(const Settings& s, httplib::Server& server, EventHub& events, const AccessRules& rules) {
    Served served;
    served.robotEvents = std::make_unique<RobotEvents>(events, s.link);
    served.history = std::make_unique<History>(events);
    served.listeners = std::make_unique<SessionListeners>(
        std::initializer_list<SessionListener*>{served.robotEvents.get(), served.history.get()});
    served.session = std::make_unique<Session>(s.link, consolePlan(), *served.listeners);
    serveConsole(server, *served.session, events, rules);
    served.sensors = std::make_unique<SensorPolls>(*served.session, events);
    serveReadings(server, *served.history, *served.sensors);
    served.mapEdits = std::make_unique<MapEditStore>(s.stateFolder, s.link);
    served.operatorState = std::make_unique<OperatorState>(OperatorState{s.codes, *served.mapEdits});
    serveOperator(server, *served.session, *served.operatorState);
    served.teleop = std::make_unique<TeleopDesk>(*served.session, events, s.teleop);
    served.teleop->serve(server);
    served.subject = "robot " + s.link.host + " port " + std::to_string(s.link.port);
    return served;
}

Served serveFleetOf(const Settings& s, httplib::Server& server, EventHub& events, const AccessRules& rules) {
    Served served;
    served.fleet = std::make_unique<FleetWatch>(s.broker, s.topics, events);
    servePage(server, events, rules, "fleet.html");
    serveFleet(server, *served.fleet);
    served.subject = "fleet on broker " + served.fleet->fleet()["broker"].asString();
    return served;
}

int serve(const Settings& s) {
    const AccessRules rules = accessRules(s);
    if (!loopback(s.listenHost)) {
        std::cerr << "robocomm-console: warning: listening on " << s.listenHost
                  << ": the token is all that keeps others from the robot, and it travels unencrypted;"
                     " put a reverse proxy with TLS in front"
                  << std::endl;
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
    httplib::Server server;
    const Served served = s.fleet ? serveFleetOf(s, server, events, rules) : serveRobot(s, server, events, rules);
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
    // The address on a line of its own, for a terminal to make a link of it.
    std::cout << "robocomm-console: " << served.subject << "; open this address in a browser:\n"
              << address(s) << (rules.token.empty() ? "" : "?token=" + rules.token) << std::endl;
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
        [&] {
            if (!settings.fleet) return serve(settings);
            startMqtt();
            const int status = serve(settings);
            stopMqtt();
            return status;
        });
}
