#include "fleet/order_executor.h"

#include <cmath>

#include "common/json_text.h"
#include "common/vda_topics.h"

namespace robocomm::fleet {

namespace {

// The types of the bridge's errors about orders, as VDA 5050 names them.
const char* const kOrderErrors[] = {"validationError", "orderError", "orderUpdateError", "noRouteError",
                                    "noOrderToCancel"};

bool isId(const Json::Value& value) { return value.isString() && !value.asString().empty(); }
bool isCount(const Json::Value& value) { return value.isIntegral() && value.asInt64() >= 0; }

// What is wrong with one action, or empty.
std::string actionError(const Json::Value& action, const std::string& where) {
    if (!action.isObject()) return where + " is not an object";
    if (!isId(action["actionId"])) return where + ".actionId is missing";
    if (!isId(action["actionType"])) return where + ".actionType is missing";
    const Json::Value& blocking = action["blockingType"];
    if (!blocking.isString() || (blocking != "NONE" && blocking != "SOFT" && blocking != "HARD"))
        return where + ".blockingType is not NONE, SOFT or HARD";
    const Json::Value& parameters = action["actionParameters"];
    if (!parameters.isNull() && !parameters.isArray()) return where + ".actionParameters is not a list";
    for (const Json::Value& parameter : parameters)
        if (!parameter.isObject() || !isId(parameter["key"]) || !parameter.isMember("value"))
            return where + ".actionParameters needs key and value in each entry";
    return "";
}

std::string elementError(const Json::Value& element, const std::string& where, const char* idKey) {
    if (!element.isObject()) return where + " is not an object";
    if (!isId(element[idKey])) return where + "." + idKey + " is missing";
    if (!isCount(element["sequenceId"])) return where + ".sequenceId is not a count";
    if (!element["released"].isBool()) return where + ".released is not true or false";
    if (!element["actions"].isArray()) return where + ".actions is not a list";
    for (Json::ArrayIndex i = 0; i < element["actions"].size(); ++i) {
        const std::string error = actionError(element["actions"][i], where + ".actions[" + std::to_string(i) + "]");
        if (!error.empty()) return error;
    }
    return "";
}

std::string positionError(const Json::Value& node, const std::string& where) {
    const Json::Value& position = node["nodePosition"];
    if (position.isNull()) return "";
    if (!position.isObject() || !position["x"].isNumeric() || !position["y"].isNumeric() || !isId(position["mapId"]))
        return where + ".nodePosition needs x, y and mapId";
    if (!position["theta"].isNull() && !position["theta"].isNumeric()) return where + ".nodePosition.theta is not a number";
    return "";
}

}  // namespace

OrderExecutor::OrderExecutor(RobotPort& robot, ActionStates& actions, BridgeErrors& errors,
                             const tools::RobotCodes& codes, OrderSettings settings)
    : robot_(robot), actions_(actions), errors_(errors), codes_(codes), settings_(settings) {}

std::string OrderExecutor::layoutError(const Json::Value& order) const {
    if (!order.isObject()) return "the order is not a JSON object";
    if (!tools::acceptedVersion(order["version"])) return "version " + tools::compactJson(order["version"]) + " is not 2.x";
    if (!isId(order["orderId"])) return "orderId is missing";
    if (!isCount(order["orderUpdateId"])) return "orderUpdateId is not a count";
    const Json::Value& nodes = order["nodes"];
    const Json::Value& edges = order["edges"];
    if (!nodes.isArray() || nodes.empty()) return "nodes must be a list of at least one node";
    if (!edges.isArray() || edges.size() + 1 != nodes.size()) return "edges must join the nodes one after another";
    bool horizon = false;
    for (Json::ArrayIndex i = 0; i < nodes.size(); ++i) {
        const std::string where = "nodes[" + std::to_string(i) + "]";
        std::string error = elementError(nodes[i], where, "nodeId");
        if (error.empty()) error = positionError(nodes[i], where);
        if (!error.empty()) return error;
        if (i > 0 && nodes[i]["sequenceId"].asInt64() != nodes[i - 1]["sequenceId"].asInt64() + 2)
            return where + ".sequenceId does not follow the previous node's by 2";
        if (horizon && nodes[i]["released"].asBool()) return where + " is released after an unreleased node";
        horizon = horizon || !nodes[i]["released"].asBool();
    }
    if (!nodes[0]["released"].asBool()) return "nodes[0] is not released";
    for (Json::ArrayIndex i = 0; i < edges.size(); ++i) {
        const std::string where = "edges[" + std::to_string(i) + "]";
        const std::string error = elementError(edges[i], where, "edgeId");
        if (!error.empty()) return error;
        if (edges[i]["sequenceId"].asInt64() != nodes[i]["sequenceId"].asInt64() + 1)
            return where + ".sequenceId does not lie between its nodes'";
        if (edges[i]["startNodeId"] != nodes[i]["nodeId"] || edges[i]["endNodeId"] != nodes[i + 1]["nodeId"])
            return where + " does not join nodes " + std::to_string(i) + " and " + std::to_string(i + 1);
        if (edges[i]["released"].asBool() != nodes[i + 1]["released"].asBool())
            return where + ".released differs from its end node's";
    }
    return "";
}

std::string OrderExecutor::unsupportedAction(const Json::Value& order) const {
    for (const char* list : {"nodes", "edges"}) {
        const std::string scope = list == std::string("nodes") ? "NODE" : "EDGE";
        for (const Json::Value& element : order[list])
            for (const Json::Value& action : element["actions"]) {
                const tools::ActionMapping* mapping = codes_.action(action["actionType"].asString());
                bool inScope = false;
                if (mapping)
                    for (const std::string& allowed : mapping->scopes) inScope = inScope || allowed == scope;
                if (!inScope) return action["actionType"].asString();
            }
    }
    return "";
}

void OrderExecutor::reject(const std::string& type, const std::string& description, const Json::Value& order) {
    std::vector<std::pair<std::string, std::string>> references;
    if (order.isObject() && order["orderId"].isString()) references.push_back({"orderId", order["orderId"].asString()});
    if (order.isObject() && order["orderUpdateId"].isIntegral())
        references.push_back({"orderUpdateId", std::to_string(order["orderUpdateId"].asInt64())});
    errors_.raise(type, "WARNING", description, references);
}

void OrderExecutor::receive(const Json::Value& order, const Pose* pose) {
    const std::string layout = layoutError(order);
    if (!layout.empty()) return reject("validationError", layout, order);
    const std::string unsupported = unsupportedAction(order);
    if (!unsupported.empty())
        return reject("orderError", "action " + unsupported + " is not one this robot carries out there", order);

    const std::string id = order["orderId"].asString();
    const int64_t update = order["orderUpdateId"].asInt64();
    const Json::Value& first = order["nodes"][0];
    // The end of the current base: the last released node still ahead, or
    // the last one traversed.
    std::string baseEndId = lastNodeId_;
    int64_t baseEndSequence = lastNodeSequenceId_;
    for (const Node& node : nodes_)
        if (node.released) {
            baseEndId = node.id;
            baseEndSequence = node.sequenceId;
        }
    const bool continuesBase = first["nodeId"].asString() == baseEndId && first["sequenceId"].asInt64() == baseEndSequence;

    if (id == orderId_) {
        if (update == orderUpdateId_) return;  // sent again: ignored, as the standard says
        if (update < orderUpdateId_)
            return reject("orderUpdateError", "orderUpdateId " + std::to_string(update) + " is older than " +
                                                  std::to_string(orderUpdateId_), order);
        if (!continuesBase) return reject("orderUpdateError", "the update does not start at the end of the base", order);
        return take(order, true);
    }
    if (active() && !continuesBase)
        return reject("orderUpdateError", "order " + orderId_ + " is still under way", order);
    if (!active() && !continuesBase && !reachable(first, pose))
        return reject("noRouteError", "the robot is not at the order's first node", order);
    take(order, false);
}

bool OrderExecutor::reachable(const Json::Value& firstNode, const Pose* pose) const {
    if (firstNode["nodePosition"].isNull()) return true;
    if (!pose) return false;
    Node node;
    node.order = firstNode;
    return within(node, *pose);
}

bool OrderExecutor::within(const Node& node, const Pose& pose) const {
    const Json::Value& position = node.order["nodePosition"];
    const Json::Value& allowed = position["allowedDeviationXY"];
    const double deviation = allowed.isNumeric() && allowed.asDouble() > 0 ? allowed.asDouble() : settings_.defaultDeviation;
    return std::hypot(position["x"].asDouble() - pose.x, position["y"].asDouble() - pose.y) <= deviation;
}

void OrderExecutor::take(const Json::Value& order, bool update) {
    for (const char* type : kOrderErrors) errors_.clear(type);
    const Json::Value& nodes = order["nodes"];
    const int64_t firstSequence = nodes[0]["sequenceId"].asInt64();
    if (update) {
        while (!nodes_.empty() && nodes_.back().sequenceId >= firstSequence) nodes_.pop_back();
        while (!edges_.empty() && edges_.back().sequenceId > firstSequence) edges_.pop_back();
    } else {
        actions_.clear();
        orderActions_.clear();
        nodes_.clear();
        edges_.clear();
        ++generation_;
        running_ = 0;
        headingFor_ = -1;
    }
    // An update's first node was the base's end: when the robot has passed
    // it already, neither it nor its actions come again.
    const bool firstDone = update && firstSequence == lastNodeSequenceId_ && nodes[0]["nodeId"].asString() == lastNodeId_;
    for (Json::ArrayIndex i = firstDone ? 1 : 0; i < nodes.size(); ++i) {
        nodes_.push_back({nodes[i], nodes[i]["nodeId"].asString(), nodes[i]["sequenceId"].asInt64(),
                          nodes[i]["released"].asBool()});
        for (const Json::Value& action : nodes[i]["actions"]) {
            actions_.add(action);
            orderActions_.push_back(action["actionId"].asString());
        }
    }
    for (const Json::Value& edge : order["edges"]) {
        if (edge["sequenceId"].asInt64() < firstSequence) continue;
        edges_.push_back({edge, edge["edgeId"].asString(), edge["sequenceId"].asInt64(), edge["released"].asBool()});
        for (const Json::Value& action : edge["actions"]) {
            actions_.add(action);
            orderActions_.push_back(action["actionId"].asString());
        }
    }
    orderId_ = order["orderId"].asString();
    orderUpdateId_ = order["orderUpdateId"].asInt64();
}

bool OrderExecutor::active() const { return !nodes_.empty() || running_ > 0; }

void OrderExecutor::advance(const Pose& pose, bool paused) {
    while (!nodes_.empty() && nodes_.front().released && running_ == 0) {
        const Node& node = nodes_.front();
        if (node.order["nodePosition"].isNull() || within(node, pose)) {
            traverse();
            continue;
        }
        if (paused || headingFor_ == node.sequenceId) return;
        const tools::ActionMapping* move = codes_.action("move");
        const Json::Value& position = node.order["nodePosition"];
        const double theta = position["theta"].isNumeric() ? position["theta"].asDouble() : pose.theta;
        std::string missing;
        const auto arguments = commandArguments(
            *move,
            {{"x", tools::numberText(position["x"].asDouble())}, {"y", tools::numberText(position["y"].asDouble())},
             {"theta", tools::numberText(theta)}},
            missing);
        headingFor_ = node.sequenceId;
        ++running_;
        const std::string nodeId = node.id;
        robot_.carryOut(*move, arguments.value_or(std::vector<std::string>{}),
                        [this, generation = generation_, nodeId](const std::string& failure) {
                            if (generation != generation_) return;
                            --running_;
                            if (failure.empty()) return errors_.clear("noRouteError");
                            // Sent again with the robot's next pose (a robot
                            // link that is down brings none), said once.
                            headingFor_ = -1;
                            if (!errors_.has("noRouteError"))
                                errors_.raise("noRouteError", "WARNING",
                                              "the robot did not take node " + nodeId + " as its target: " + failure,
                                              {{"nodeId", nodeId}});
                        });
        return;
    }
}

void OrderExecutor::traverse() {
    const Node node = nodes_.front();
    nodes_.pop_front();
    lastNodeId_ = node.id;
    lastNodeSequenceId_ = node.sequenceId;
    while (!edges_.empty() && edges_.front().sequenceId < node.sequenceId) edges_.pop_front();
    runActions(node.order["actions"]);
    // The edge's actions start as the robot leaves its start node.
    if (!edges_.empty() && edges_.front().released) runActions(edges_.front().order["actions"]);
}

void OrderExecutor::runActions(const Json::Value& actions) {
    for (const Json::Value& action : actions) {
        const std::string id = action["actionId"].asString();
        const tools::ActionMapping* mapping = codes_.action(action["actionType"].asString());
        std::string missing;
        const auto arguments = commandArguments(*mapping, actionValues(action["actionParameters"]), missing);
        if (!arguments) {
            actions_.set(id, "FAILED", "parameter " + missing + " is missing");
            continue;
        }
        actions_.set(id, "RUNNING");
        ++running_;
        robot_.carryOut(*mapping, *arguments, [this, generation = generation_, id](const std::string& failure) {
            if (generation != generation_) return;
            --running_;
            actions_.set(id, failure.empty() ? "FINISHED" : "FAILED", failure);
        });
    }
}

bool OrderExecutor::cancel(const Pose& pose, RobotPort::Done stopped) {
    if (!active()) return false;
    actions_.failOpen(orderActions_, "the order was cancelled");
    nodes_.clear();
    edges_.clear();
    running_ = 0;
    headingFor_ = -1;
    ++generation_;
    const tools::ActionMapping* move = codes_.action("move");
    std::string missing;
    const auto arguments = commandArguments(*move,
                                            {{"x", tools::numberText(pose.x)},
                                             {"y", tools::numberText(pose.y)},
                                             {"theta", tools::numberText(pose.theta)}},
                                            missing);
    robot_.carryOut(*move, arguments.value_or(std::vector<std::string>{}), std::move(stopped));
    return true;
}

void OrderExecutor::describe(Json::Value& state) const {
    state["orderId"] = orderId_;
    state["orderUpdateId"] = static_cast<Json::Int64>(orderUpdateId_);
    state["lastNodeId"] = lastNodeId_;
    state["lastNodeSequenceId"] = static_cast<Json::Int64>(lastNodeSequenceId_);
    const auto described = [](const Element& element, const std::string& kind) {
        Json::Value item;
        item[kind + "Id"] = element.id;
        item["sequenceId"] = static_cast<Json::Int64>(element.sequenceId);
        item["released"] = element.released;
        const Json::Value& description = element.order[kind + "Description"];
        if (description.isString()) item[kind + "Description"] = description;
        return item;
    };
    Json::Value nodeStates(Json::arrayValue);
    for (const Node& node : nodes_) {
        Json::Value item = described(node, "node");
        const Json::Value& position = node.order["nodePosition"];
        if (position.isObject())
            for (const char* key : {"x", "y", "theta", "mapId"})
                if (position.isMember(key)) item["nodePosition"][key] = position[key];
        nodeStates.append(item);
    }
    Json::Value edgeStates(Json::arrayValue);
    for (const Edge& edge : edges_) edgeStates.append(described(edge, "edge"));
    state["nodeStates"] = nodeStates;
    state["edgeStates"] = edgeStates;
}

}  // namespace robocomm::fleet
