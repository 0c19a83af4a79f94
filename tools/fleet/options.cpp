#include "fleet/options.h"

#include <functional>

#include "common/broker_options.h"
#include "common/files.h"
#include "common/json_text.h"
#include "common/link_options.h"

namespace robocomm::fleet {

using namespace robocomm::tools;

const char kTool[] = "robocomm-fleet";

const std::string kUsage = std::string(R"(usage: robocomm-fleet [options] --robot SERIAL=HOST[:PORT] ...

Publishes every robot given on an MQTT broker as VDA 5050 2.1 (state,
visualization, factsheet, connection) and carries out the orders and
instant actions a master control sends it. It is each robot's one client.

options (--opt VALUE or --opt=VALUE):
  --robot SERIAL=HOST[:PORT]  a robot, its serial number and its address (port 10001 by default); repeatable
  --config FILE               a site's settings as JSON: these options' long names as keys, and
                              "robots": {"SERIAL": "HOST[:PORT]", ...}, "robot-codes": {...}
  --broker HOST[:PORT]        the MQTT broker (default 127.0.0.1:1883, or :8883 with --ca-file)
)") + kBrokerOptionsHelp + R"(  --map-id ID                 mapId of the positions (default map)
  --visualization-interval SECONDS  position on visualization at most this often (default 0.2)
  --node-deviation METRES     how near a node counts as reached when the order gives no
                              allowedDeviationXY (default 0.25)
  --robot-codes FILE          entries replacing those of the built-in robot codes table
)" + kLinkOptionsHelp + R"(  -h, --help                  this text
  --version                   the library version

Topics: <interface>/v2/<manufacturer>/<serial>/{connection,state,visualization,factsheet,order,instantActions}
)";

namespace {

void addRobot(FleetSettings& s, const std::string& serial, const std::string& address) {
    if (serial.empty() || serial.find_first_of("/+#") != std::string::npos)
        throw usageFailure(kTool, "'" + serial + "' cannot be a serial number in a topic");
    for (const VehicleSettings& robot : s.robots)
        if (robot.identity.serial == serial) throw usageFailure(kTool, "robot " + serial + " is given twice");
    VehicleSettings robot;
    robot.identity.serial = serial;
    const auto [host, port] = hostAndPort(kTool, "--robot", address);
    robot.link.host = host;
    if (port) robot.link.port = port;
    s.robots.push_back(robot);
}

void robotCodesFrom(FleetSettings& s, const Json::Value& table, const std::string& where) {
    try {
        s.codes.apply(table);
    } catch (const Failure& bad) {
        throw usageFailure(kTool, where + ": " + bad.what());
    }
}

Json::Value jsonFile(const std::string& path) {
    Json::Value root;
    std::string errors;
    if (!parseJson(readWholeFile(path), root, errors) || !root.isObject())
        throw usageFailure(kTool, path + " is not a JSON object: " + errors);
    return root;
}

// Applies one option; false for one it does not know.
bool apply(FleetSettings& s, const std::string& option, const std::function<std::string()>& value,
           const std::function<bool()>& flag) {
    VehicleSettings& c = s.common;
    if (applyBrokerOption(option, value, c.broker, c.identity)) return true;
    if (option == "--robot") {
        const std::string text = value();
        const size_t equals = text.find('=');
        if (equals == std::string::npos) throw usageFailure(kTool, "--robot wants SERIAL=HOST[:PORT]");
        addRobot(s, text.substr(0, equals), text.substr(equals + 1));
    } else if (option == "--broker") setBrokerAddress(kTool, option, value(), c.broker);
    else if (option == "--map-id") c.mapId = value();
    else if (option == "--visualization-interval") c.visualizationInterval = secondsOption(kTool, option, value());
    else if (option == "--node-deviation") c.order.defaultDeviation = positiveNumber(kTool, option, value());
    else if (option == "--robot-codes") {
        const std::string path = value();
        robotCodesFrom(s, jsonFile(path), path);
    } else if (option == "--help" || option == "-h") s.help = flag();
    else if (option == "--version") s.version = flag();
    else return applyLinkOption(kTool, option, value, flag, c.link);
    return true;
}

void applyConfig(FleetSettings& s, const std::string& path) {
    const Json::Value config = jsonFile(path);
    for (const std::string& key : config.getMemberNames()) {
        const Json::Value& entry = config[key];
        if (key == "robots") {
            if (!entry.isObject()) throw usageFailure(kTool, path + ": \"robots\" wants {\"SERIAL\": \"HOST[:PORT]\"}");
            for (const std::string& serial : entry.getMemberNames()) addRobot(s, serial, entry[serial].asString());
            continue;
        }
        if (key == "robot-codes") {
            robotCodesFrom(s, entry, path);
            continue;
        }
        if (key == "config" || !(entry.isString() || entry.isNumeric() || entry.isBool()))
            throw usageFailure(kTool, path + ": \"" + key + "\" is not a setting");
        const std::string text = entry.isString() ? entry.asString() : entry.isBool() ? "" : numberText(entry.asDouble());
        const auto value = [&text] { return text; };
        const auto flag = [&entry] { return entry.asBool(); };
        if (!apply(s, "--" + key, value, flag)) throw usageFailure(kTool, path + ": unknown setting \"" + key + "\"");
    }
}

}  // namespace

FleetSettings parseSettings(int argc, char** argv) {
    FleetSettings s;
    readLinkEnvironment(kTool, s.common.link);
    // The config file first, wherever it stands, so that the command line overrides it.
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--config" && i + 1 < argc) applyConfig(s, argv[i + 1]);
        else if (word.rfind("--config=", 0) == 0) applyConfig(s, word.substr(9));
    }
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const size_t equals = word.find('=');
        const std::string option = word.substr(0, equals);
        const bool inlineValue = equals != std::string::npos;
        const auto value = [&]() -> std::string {
            if (inlineValue) return word.substr(equals + 1);
            if (i + 1 >= argc) throw usageFailure(kTool, option + " needs a value");
            return argv[++i];
        };
        const auto flag = [&]() {
            if (inlineValue) throw usageFailure(kTool, option + " takes no value");
            return true;
        };
        if (option == "--config") {
            value();
            continue;
        }
        if (!apply(s, option, value, flag)) throw usageFailure(kTool, "unknown argument " + word);
    }
    if (!s.codes.action("move")) throw usageFailure(kTool, "the robot codes table has no \"move\" action");
    if (!s.help && !s.version && s.robots.empty()) throw usageFailure(kTool, "no robot given (--robot SERIAL=HOST[:PORT])");
    // Each robot takes the shared settings with its own serial and address.
    for (VehicleSettings& robot : s.robots) {
        const Identity identity{s.common.identity.interfaceName, s.common.identity.manufacturer, robot.identity.serial};
        LinkOptions link = s.common.link;
        link.host = robot.link.host;
        link.port = robot.link.port;
        robot = s.common;
        robot.identity = identity;
        robot.link = link;
    }
    return s;
}

}  // namespace robocomm::fleet
