#include "fleet/action_states.h"

#include <algorithm>

namespace robocomm::fleet {

namespace {

// A master control that sends instant actions without end must not grow
// the state without end: the oldest settled ones go first.
constexpr size_t kMostActionStates = 200;
constexpr size_t kMostErrors = 20;

bool settled(const ActionState& state) {
    return state.actionStatus == "FINISHED" || state.actionStatus == "FAILED";
}

}  // namespace

void ActionStates::add(const Json::Value& action) {
    ActionState state;
    state.actionId = action["actionId"].asString();
    state.actionType = action["actionType"].asString();
    if (action["actionDescription"].isString()) state.actionDescription = action["actionDescription"].asString();
    if (states_.size() >= kMostActionStates) {
        const auto oldest = std::find_if(states_.begin(), states_.end(), settled);
        if (oldest != states_.end()) states_.erase(oldest);
    }
    states_.push_back(state);
}

void ActionStates::set(const std::string& actionId, const std::string& status, const std::string& result) {
    for (ActionState& state : states_) {
        if (state.actionId != actionId) continue;
        state.actionStatus = status;
        if (!result.empty()) state.resultDescription = result;
    }
}

const ActionState* ActionStates::find(const std::string& actionId) const {
    for (const ActionState& state : states_)
        if (state.actionId == actionId) return &state;
    return nullptr;
}

void ActionStates::failOpen(const std::vector<std::string>& actionIds, const std::string& why) {
    for (const std::string& id : actionIds) {
        const ActionState* state = find(id);
        if (state && !settled(*state)) set(id, "FAILED", why);
    }
}

Json::Value ActionStates::toJson() const {
    Json::Value list(Json::arrayValue);
    for (const ActionState& state : states_) {
        Json::Value item;
        item["actionId"] = state.actionId;
        item["actionType"] = state.actionType;
        if (!state.actionDescription.empty()) item["actionDescription"] = state.actionDescription;
        item["actionStatus"] = state.actionStatus;
        if (!state.resultDescription.empty()) item["resultDescription"] = state.resultDescription;
        list.append(item);
    }
    return list;
}

void BridgeErrors::raise(const std::string& type, const std::string& level, const std::string& description,
                         const std::vector<std::pair<std::string, std::string>>& references) {
    Json::Value error;
    error["errorType"] = type;
    error["errorLevel"] = level;
    error["errorDescription"] = description;
    Json::Value list(Json::arrayValue);
    for (const auto& [key, value] : references) {
        Json::Value reference;
        reference["referenceKey"] = key;
        reference["referenceValue"] = value;
        list.append(reference);
    }
    error["errorReferences"] = list;
    if (errors_.size() >= kMostErrors) errors_.erase(errors_.begin());
    errors_.push_back(error);
}

void BridgeErrors::clear(const std::string& type) {
    errors_.erase(std::remove_if(errors_.begin(), errors_.end(),
                                 [&type](const Json::Value& error) { return error["errorType"].asString() == type; }),
                  errors_.end());
}

bool BridgeErrors::has(const std::string& type) const {
    return std::any_of(errors_.begin(), errors_.end(),
                       [&type](const Json::Value& error) { return error["errorType"].asString() == type; });
}

void BridgeErrors::appendTo(Json::Value& errors) const {
    for (const Json::Value& error : errors_) errors.append(error);
}

}  // namespace robocomm::fleet
