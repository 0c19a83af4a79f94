#include "console/fleet_view.h"

#include <algorithm>

#include "common/failure.h"
#include "common/json_text.h"

namespace robocomm::console {

using tools::Exit;
using tools::Failure;

namespace {

const char* const kWatched[] = {"connection", "state", "factsheet", "visualization"};

Json::Value positionOf(const Json::Value& agvPosition) {
    if (!agvPosition.isObject() || !agvPosition["x"].isNumeric() || !agvPosition["y"].isNumeric()) return Json::Value();
    Json::Value position;
    position["x"] = agvPosition["x"].asDouble();
    position["y"] = agvPosition["y"].asDouble();
    position["theta"] = agvPosition["theta"].isNumeric() ? agvPosition["theta"].asDouble() : 0.0;
    position["mapId"] = agvPosition["mapId"].isString() ? agvPosition["mapId"].asString() : "";
    return position;
}

Json::Value errorsOf(const Json::Value& errors) {
    Json::Value list(Json::arrayValue);
    for (const Json::Value& error : errors) {
        if (!error.isObject()) continue;
        Json::Value item;
        item["type"] = error["errorType"].asString();
        item["level"] = error["errorLevel"].asString();
        item["description"] = error["errorDescription"].isString() ? error["errorDescription"].asString() : "";
        list.append(item);
    }
    return list;
}

void readState(Json::Value& row, const Json::Value& state) {
    const Json::Value& battery = state["batteryState"];
    if (battery["batteryCharge"].isNumeric()) row["battery"] = battery["batteryCharge"].asDouble();
    row["charging"] = battery["charging"].asBool();
    row["operatingMode"] = state["operatingMode"].isString() ? state["operatingMode"].asString() : "";
    row["driving"] = state["driving"].asBool();
    row["paused"] = state["paused"].asBool();
    row["errors"] = errorsOf(state["errors"]);
    row["orderId"] = state["orderId"].isString() ? state["orderId"].asString() : "";
    row["lastNodeId"] = state["lastNodeId"].isString() ? state["lastNodeId"].asString() : "";
    row["eStop"] = state["safetyState"]["eStop"].isString() ? state["safetyState"]["eStop"].asString() : "NONE";
    if (state.isMember("agvPosition")) row["position"] = positionOf(state["agvPosition"]);
}

std::vector<std::string> actionTypesOf(const Json::Value& factsheet) {
    std::vector<std::string> types;
    for (const Json::Value& action : factsheet["protocolFeatures"]["agvActions"])
        if (action["actionType"].isString()) types.push_back(action["actionType"].asString());
    return types;
}

Json::Value node(const std::string& id, int sequenceId, double x, double y, const std::string& mapId) {
    Json::Value node;
    node["nodeId"] = id;
    node["sequenceId"] = sequenceId;
    node["released"] = true;
    node["nodePosition"]["x"] = x;
    node["nodePosition"]["y"] = y;
    node["nodePosition"]["mapId"] = mapId;
    node["actions"] = Json::Value(Json::arrayValue);
    return node;
}

}  // namespace

const std::vector<FleetCommand>& fleetCommands() {
    static const std::vector<FleetCommand> commands = {
        {"pause", "startPause"},     {"resume", "stopPause"},           {"cancel", "cancelOrder"},
        {"charge", "startCharging"}, {"stop-charging", "stopCharging"}, {"stop", "emergencyStop"},
    };
    return commands;
}

std::vector<std::string> FleetView::subscriptions() const {
    std::vector<std::string> topics;
    for (const char* kind : kWatched) topics.push_back(topic("+", kind));
    return topics;
}

std::string FleetView::topic(const std::string& serial, const std::string& name) const {
    return tools::topicOf({scope_.interfaceName, scope_.manufacturer, serial}, name);
}

std::optional<std::string> FleetView::receive(const std::string& topic, const std::string& payload) {
    const std::string prefix = scope_.interfaceName + "/v2/" + scope_.manufacturer + "/";
    if (topic.rfind(prefix, 0) != 0) return std::nullopt;
    const size_t slash = topic.find('/', prefix.size());
    if (slash == std::string::npos || slash == prefix.size()) return std::nullopt;
    const std::string serial = topic.substr(prefix.size(), slash - prefix.size());
    const std::string kind = topic.substr(slash + 1);
    Json::Value message;
    std::string errors;
    if (!tools::parseJson(payload, message, errors) || !message.isObject()) return std::nullopt;
    if (std::find(std::begin(kWatched), std::end(kWatched), kind) == std::end(kWatched)) return std::nullopt;
    if (kind == "connection" && !message["connectionState"].isString()) return std::nullopt;

    Robot& r = robot(serial);
    if (kind == "connection") r.row["connection"] = message["connectionState"].asString();
    else if (kind == "state") readState(r.row, message);
    else if (kind == "factsheet") {
        r.actions = actionTypesOf(message);
        r.row["commands"] = Json::Value(Json::arrayValue);
        for (const FleetCommand& command : fleetCommands())
            if (std::find(r.actions.begin(), r.actions.end(), command.actionType) != r.actions.end())
                r.row["commands"].append(command.name);
    } else if (message.isMember("agvPosition")) r.row["position"] = positionOf(message["agvPosition"]);
    if (message["timestamp"].isString()) r.row["seen"] = message["timestamp"].asString();
    return serial;
}

FleetView::Robot& FleetView::robot(const std::string& serial) {
    const auto found = robots_.find(serial);
    if (found != robots_.end()) return found->second;
    Robot& fresh = robots_[serial];
    fresh.row["serial"] = serial;
    // Until its first connection message the console cannot say.
    fresh.row["connection"] = "UNKNOWN";
    fresh.row["position"] = Json::Value();
    fresh.row["errors"] = Json::Value(Json::arrayValue);
    fresh.row["commands"] = Json::Value(Json::arrayValue);
    return fresh;
}

const FleetView::Robot& FleetView::known(const std::string& serial) const {
    const auto found = robots_.find(serial);
    if (found == robots_.end()) throw Failure(Exit::Usage, "no robot " + serial + " on the broker");
    return found->second;
}

Json::Value FleetView::table() const {
    Json::Value rows(Json::arrayValue);
    for (const auto& entry : robots_) rows.append(entry.second.row);
    return rows;
}

tools::Headers& FleetView::headers(const std::string& serial) {
    std::unique_ptr<tools::Headers>& found = headers_[serial];
    if (!found) found = std::make_unique<tools::Headers>(tools::Identity{scope_.interfaceName, scope_.manufacturer, serial});
    return *found;
}

std::string FleetView::nextId(const std::string& serial, const char* kind, WallClock::time_point at) {
    // Unique across consoles too: the time in milliseconds, then a count.
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count();
    return std::string("console-") + kind + "-" + serial + "-" + std::to_string(millis) + "-" + std::to_string(++sent_);
}

Json::Value FleetView::instantAction(const std::string& serial, const std::string& command, WallClock::time_point at) {
    const auto& commands = fleetCommands();
    const auto found = std::find_if(commands.begin(), commands.end(), [&](const FleetCommand& c) { return c.name == command; });
    if (found == commands.end()) throw Failure(Exit::Usage, "no fleet action '" + command + "'");
    const Robot& r = known(serial);
    if (std::find(r.actions.begin(), r.actions.end(), found->actionType) == r.actions.end())
        throw Failure(Exit::Failed, serial + " does not list " + found->actionType + " in its factsheet");
    Json::Value action;
    action["actionType"] = found->actionType;
    action["actionId"] = nextId(serial, "action", at);
    action["blockingType"] = "HARD";
    Json::Value body;
    body["actions"].append(action);
    return headers(serial).stamp(topic(serial, "instantActions"), body, at);
}

Json::Value FleetView::orderTo(const std::string& serial, double x, double y, WallClock::time_point at) {
    const Json::Value& position = known(serial).row["position"];
    if (!position.isObject()) throw Failure(Exit::Failed, serial + " has not said where it is");
    const std::string mapId = position["mapId"].asString();
    const std::string orderId = nextId(serial, "order", at);
    Json::Value body;
    body["orderId"] = orderId;
    body["orderUpdateId"] = 0;
    body["nodes"].append(node(orderId + "-from", 0, position["x"].asDouble(), position["y"].asDouble(), mapId));
    body["nodes"].append(node(orderId + "-to", 2, x, y, mapId));
    Json::Value edge;
    edge["edgeId"] = orderId + "-edge";
    edge["sequenceId"] = 1;
    edge["released"] = true;
    edge["startNodeId"] = orderId + "-from";
    edge["endNodeId"] = orderId + "-to";
    edge["actions"] = Json::Value(Json::arrayValue);
    body["edges"].append(edge);
    return headers(serial).stamp(topic(serial, "order"), body, at);
}

}  // namespace robocomm::console
