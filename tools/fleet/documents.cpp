#include "fleet/documents.h"

namespace robocomm::fleet {

namespace {

// What the bridge itself carries out, beside the robot's actions.
struct BridgeAction {
    const char* type;
    const char* description;
};
const BridgeAction kBridgeActions[] = {
    {"cancelOrder", "stops the robot where it is and drops the order"},
    {"stateRequest", "publishes the state at once"},
    {"factsheetRequest", "publishes the factsheet at once"},
};

std::string errorLevel(const std::string& severity) { return severity == "fatal" ? "FATAL" : "WARNING"; }

Json::Value robotErrors(const RobotView& robot, const tools::RobotCodes& codes) {
    Json::Value errors(Json::arrayValue);
    for (const RobotError& error : robot.errors) {
        const tools::CodeLabel label = codes.error(error.code);
        Json::Value item;
        item["errorType"] = error.code;
        item["errorLevel"] = errorLevel(label.severity);
        item["errorDescription"] = label.label;
        Json::Value rank;
        rank["referenceKey"] = "rank";
        rank["referenceValue"] = std::to_string(error.rank);
        item["errorReferences"].append(rank);
        errors.append(item);
    }
    return errors;
}

std::string statusMeaning(const RobotView& robot, const tools::RobotCodes& codes) {
    const tools::CodeLabel* label = robot.status ? codes.status(*robot.status) : nullptr;
    return label ? label->meaning : "";
}

Json::Value agvPosition(const RobotView& robot, const std::string& mapId) {
    Json::Value position;
    position["x"] = robot.pose->x;
    position["y"] = robot.pose->y;
    position["theta"] = robot.pose->theta;
    position["mapId"] = mapId;
    position["positionInitialized"] = robot.positionValid;
    return position;
}

Json::Value velocity(const RobotView& robot) {
    Json::Value velocity;
    velocity["vx"] = robot.speed;
    velocity["vy"] = 0.0;
    velocity["omega"] = robot.turnRate;
    return velocity;
}

}  // namespace

Json::Value stateBody(const StateParts& parts) {
    Json::Value state;
    parts.order.describe(state);
    state["driving"] = parts.robot.movingState != 0 && !parts.paused;
    state["paused"] = parts.paused;
    state["operatingMode"] = "AUTOMATIC";
    state["actionStates"] = parts.actions.toJson();
    Json::Value battery;
    battery["batteryCharge"] = parts.robot.batteryPercent.value_or(0);
    if (parts.robot.batteryPercent) battery["batteryVoltage"] = parts.robot.batteryVoltage;
    const std::string meaning = statusMeaning(parts.robot, parts.codes);
    battery["charging"] = meaning == "charging";
    state["batteryState"] = battery;
    Json::Value errors = robotErrors(parts.robot, parts.codes);
    parts.errors.appendTo(errors);
    state["errors"] = errors;
    state["information"] = Json::Value(Json::arrayValue);
    Json::Value safety;
    // The robot's emergency stop is pressed remotely (its action) and holds
    // until a recovery; the robot's status says which.
    safety["eStop"] = meaning == "emergencyStop" ? "REMOTE" : "NONE";
    safety["fieldViolation"] = false;
    state["safetyState"] = safety;
    if (parts.robot.pose) {
        state["agvPosition"] = agvPosition(parts.robot, parts.mapId);
        state["velocity"] = velocity(parts.robot);
    }
    return state;
}

Json::Value stateEvents(const Json::Value& state) {
    Json::Value events = state;
    events["positionKnown"] = state.isMember("agvPosition");
    events.removeMember("agvPosition");
    events.removeMember("velocity");
    // The charge in whole percent (as the robot reports it) is news; the
    // voltage, which flickers, is not.
    events["batteryState"].removeMember("batteryVoltage");
    return events;
}

Json::Value visualizationBody(const RobotView& robot, const std::string& mapId) {
    Json::Value body(Json::objectValue);
    if (!robot.pose) return body;
    body["agvPosition"] = agvPosition(robot, mapId);
    body["velocity"] = velocity(robot);
    return body;
}

Json::Value connectionBody(const std::string& connectionState) {
    Json::Value body;
    body["connectionState"] = connectionState;
    return body;
}

Json::Value factsheetBody(const tools::RobotCodes& codes, double visualizationInterval) {
    Json::Value body;
    for (const auto& [key, value] : codes.factsheet()) body[key] = value;
    Json::Value& limits = body["protocolLimits"];
    limits["maxStringLens"] = Json::Value(Json::objectValue);
    limits["maxArrayLens"] = Json::Value(Json::objectValue);
    limits["timing"]["minOrderInterval"] = 0.5;
    limits["timing"]["minStateInterval"] = 0.1;
    limits["timing"]["defaultStateInterval"] = 30;
    limits["timing"]["visualizationInterval"] = visualizationInterval;
    Json::Value& features = body["protocolFeatures"];
    features["optionalParameters"] = Json::Value(Json::arrayValue);
    Json::Value& actions = features["agvActions"] = Json::Value(Json::arrayValue);
    for (const BridgeAction& own : kBridgeActions) {
        Json::Value action;
        action["actionType"] = own.type;
        action["actionDescription"] = own.description;
        action["actionScopes"].append("INSTANT");
        actions.append(action);
    }
    for (const auto& [type, mapping] : codes.actions()) {
        if (mapping.scopes.empty()) continue;
        Json::Value action;
        action["actionType"] = type;
        if (!mapping.description.empty()) action["actionDescription"] = mapping.description;
        for (const std::string& scope : mapping.scopes) action["actionScopes"].append(scope);
        for (const std::string& parameter : mapping.parameters) {
            if (parameter.empty() || parameter[0] != '$') continue;
            Json::Value described;
            described["key"] = parameter.substr(1);
            described["valueDataType"] = "NUMBER";
            action["actionParameters"].append(described);
        }
        actions.append(action);
    }
    body["agvGeometry"] = Json::Value(Json::objectValue);
    body["loadSpecification"] = Json::Value(Json::objectValue);
    return body;
}

}  // namespace robocomm::fleet
