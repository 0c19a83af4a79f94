// The state's actionStates (VDA 5050 6.10): every action of the current
// order and every instant action, each WAITING, INITIALIZING, RUNNING,
// FINISHED or FAILED. An order's actions leave the list when a new order
// comes; instant actions stay until then too.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

namespace robocomm::fleet {

struct ActionState {
    std::string actionId;
    std::string actionType;
    std::string actionDescription;
    std::string actionStatus = "WAITING";
    std::string resultDescription;
};

class ActionStates {
public:
    // Takes an action of an order or an instant action, WAITING.
    void add(const Json::Value& action);
    // Sets the status (and the result, when given) of the action with this id.
    void set(const std::string& actionId, const std::string& status, const std::string& result = "");
    const ActionState* find(const std::string& actionId) const;
    // Every action not yet FINISHED or FAILED becomes FAILED with `why`.
    void failOpen(const std::vector<std::string>& actionIds, const std::string& why);
    void clear() { states_.clear(); }
    Json::Value toJson() const;

private:
    std::vector<ActionState> states_;
};

// The bridge's own errors beside the robot's (order rejections, failed
// actions), each as VDA 5050 writes an error.
class BridgeErrors {
public:
    // level: "WARNING" or "FATAL"; references: {{"orderId", "o1"}, ...}
    void raise(const std::string& type, const std::string& level, const std::string& description,
               const std::vector<std::pair<std::string, std::string>>& references);
    // Drops every error of this type.
    void clear(const std::string& type);
    bool has(const std::string& type) const;
    // Appends them to the state's "errors" array.
    void appendTo(Json::Value& errors) const;

private:
    std::vector<Json::Value> errors_;
};

}  // namespace robocomm::fleet
