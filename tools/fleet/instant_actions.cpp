#include "fleet/instant_actions.h"

#include <algorithm>

#include "common/json_text.h"
#include "common/vda_topics.h"

namespace robocomm::fleet {

namespace {

std::string messageError(const Json::Value& message) {
    if (!message.isObject()) return "the message is not a JSON object";
    if (!tools::acceptedVersion(message["version"])) return "version " + tools::compactJson(message["version"]) + " is not 2.x";
    const Json::Value& actions = message["actions"];
    if (!actions.isArray()) return "actions is not a list";
    for (Json::ArrayIndex i = 0; i < actions.size(); ++i) {
        const Json::Value& action = actions[i];
        const std::string where = "actions[" + std::to_string(i) + "]";
        if (!action.isObject() || !action["actionId"].isString() || action["actionId"].asString().empty())
            return where + ".actionId is missing";
        if (!action["actionType"].isString()) return where + ".actionType is missing";
        if (!action["blockingType"].isString()) return where + ".blockingType is missing";
        const Json::Value& parameters = action["actionParameters"];
        if (!parameters.isNull() && !parameters.isArray()) return where + ".actionParameters is not a list";
    }
    return "";
}

bool instantScope(const tools::ActionMapping& mapping) {
    return std::find(mapping.scopes.begin(), mapping.scopes.end(), "INSTANT") != mapping.scopes.end();
}

}  // namespace

InstantActions::InstantActions(RobotPort& robot, ActionStates& actions, BridgeErrors& errors, OrderExecutor& order,
                               const tools::RobotCodes& codes, Requests requests)
    : robot_(robot), actions_(actions), errors_(errors), order_(order), codes_(codes), requests_(std::move(requests)) {}

void InstantActions::receive(const Json::Value& message, const Pose* pose) {
    const std::string error = messageError(message);
    if (!error.empty()) {
        std::vector<std::pair<std::string, std::string>> references;
        if (message.isObject() && message["headerId"].isIntegral())
            references.push_back({"headerId", std::to_string(message["headerId"].asInt64())});
        return errors_.raise("validationError", "WARNING", "instant actions: " + error, references);
    }
    for (const Json::Value& action : message["actions"]) start(action, pose);
}

void InstantActions::start(const Json::Value& action, const Pose* pose) {
    const std::string id = action["actionId"].asString();
    const std::string type = action["actionType"].asString();
    actions_.add(action);
    if (type == "stateRequest" || type == "factsheetRequest") {
        actions_.set(id, "FINISHED");
        return type == "stateRequest" ? requests_.state() : requests_.factsheet();
    }
    if (type == "cancelOrder") return cancelOrder(id, pose);
    onRobot(action);
}

void InstantActions::cancelOrder(const std::string& id, const Pose* pose) {
    if (!order_.active()) {
        actions_.set(id, "FAILED", "there is no order to cancel");
        return errors_.raise("noOrderToCancel", "WARNING", "cancelOrder came while no order was under way",
                             {{"actionId", id}});
    }
    if (!pose) return actions_.set(id, "FAILED", "the robot's position is not known, so it cannot be stopped there");
    actions_.set(id, "RUNNING");
    order_.cancel(*pose, [this, id](const std::string& failure) {
        actions_.set(id, failure.empty() ? "FINISHED" : "FAILED", failure);
    });
}

void InstantActions::onRobot(const Json::Value& action) {
    const std::string id = action["actionId"].asString();
    const std::string type = action["actionType"].asString();
    const tools::ActionMapping* mapping = codes_.action(type);
    if (!mapping || !instantScope(*mapping)) return actions_.set(id, "FAILED", type + " is not an action of this robot");
    std::string missing;
    const auto arguments = commandArguments(*mapping, actionValues(action["actionParameters"]), missing);
    if (!arguments) return actions_.set(id, "FAILED", "parameter " + missing + " is missing");
    actions_.set(id, "RUNNING");
    robot_.carryOut(*mapping, *arguments, [this, id, type](const std::string& failure) {
        actions_.set(id, failure.empty() ? "FINISHED" : "FAILED", failure);
        if (!failure.empty()) return;
        if (type == "startPause") paused_ = true;
        if (type == "stopPause") paused_ = false;
    });
}

}  // namespace robocomm::fleet
