#include "common/robot_codes.h"

#include "common/failure.h"
#include "common/files.h"
#include "common/json_text.h"
#include "common/vocabulary.h"

namespace robocomm::tools {

namespace {

Failure badEntry(const std::string& where, const std::string& what) {
    return Failure(Exit::Usage, "robot codes: " + where + ": " + what);
}

std::string text(const Json::Value& entry, const char* key, const std::string& where, bool required) {
    const Json::Value& value = entry[key];
    if (value.isString()) return value.asString();
    if (value.isNull() && !required) return "";
    throw badEntry(where, std::string("\"") + key + "\" must be a text");
}

CodeLabel labelFrom(const Json::Value& entry, const std::string& where) {
    if (!entry.isObject()) throw badEntry(where, "an object with \"label\" and \"severity\" expected");
    CodeLabel label{text(entry, "label", where, true), text(entry, "severity", where, true),
                    text(entry, "meaning", where, false)};
    if (label.severity != "info" && label.severity != "warning" && label.severity != "fatal")
        throw badEntry(where, "\"severity\" is info, warning or fatal");
    if (!label.meaning.empty() && label.meaning != "charging" && label.meaning != "emergencyStop")
        throw badEntry(where, "\"meaning\" is charging or emergencyStop");
    return label;
}

std::vector<std::string> texts(const Json::Value& entry, const char* key, const std::string& where) {
    const Json::Value& list = entry[key];
    if (list.isNull()) return {};
    if (!list.isArray()) throw badEntry(where, std::string("\"") + key + "\" must be a list of texts");
    std::vector<std::string> out;
    for (const Json::Value& item : list) {
        if (!item.isString()) throw badEntry(where, std::string("\"") + key + "\" must be a list of texts");
        out.push_back(item.asString());
    }
    return out;
}

ActionMapping mappingFrom(const Json::Value& entry, const std::string& where) {
    if (!entry.isObject()) throw badEntry(where, "an object with \"command\" expected");
    ActionMapping mapping{text(entry, "command", where, true), texts(entry, "parameters", where),
                          texts(entry, "scopes", where), text(entry, "description", where, false)};
    const CommandSpec* command = nullptr;
    try {
        command = &commandFor(CommandKind::Set, mapping.command);
    } catch (const Failure& unknown) {
        throw badEntry(where, unknown.what());
    }
    if (command->params.size() != mapping.parameters.size())
        throw badEntry(where, std::to_string(command->params.size()) + " parameters wanted: " + synopsis(*command));
    return mapping;
}

template <typename Entry, typename Read>
void merge(const Json::Value& overrides, const char* section, std::map<std::string, Entry>& into, Read read) {
    const Json::Value& entries = overrides[section];
    if (entries.isNull()) return;
    if (!entries.isObject()) throw badEntry(section, "an object expected");
    for (const std::string& key : entries.getMemberNames())
        into[key] = read(entries[key], std::string(section) + "." + key);
}

template <typename Entry>
const Entry* lookup(const std::map<std::string, Entry>& entries, const std::string& key) {
    const auto found = entries.find(key);
    return found == entries.end() ? nullptr : &found->second;
}

}  // namespace

RobotCodes RobotCodes::builtIn() {
    Json::Value table;
    std::string errors;
    if (!parseJson(kRobotCodesJson, table, errors)) throw badEntry("built-in table", errors);
    RobotCodes codes;
    codes.apply(table);
    return codes;
}

void RobotCodes::apply(const Json::Value& overrides) {
    if (!overrides.isObject()) throw badEntry("table", "an object expected");
    merge(overrides, "status", status_, labelFrom);
    merge(overrides, "docking", docking_, labelFrom);
    merge(overrides, "errors", errors_, labelFrom);
    merge(overrides, "actions", actions_, mappingFrom);
    merge(overrides, "factsheet", factsheet_, [](const Json::Value& entry, const std::string& where) {
        if (!entry.isObject()) throw badEntry(where, "an object expected");
        return entry;
    });
}

void RobotCodes::applyFile(const std::string& path) {
    Json::Value table;
    std::string errors;
    if (!parseJson(readWholeFile(path), table, errors)) throw badEntry(path, "not a JSON document: " + errors);
    try {
        apply(table);
    } catch (const Failure& bad) {
        throw Failure(Exit::Usage, path + ": " + bad.what());
    }
}

namespace {

Json::Value labelSection(const std::map<std::string, CodeLabel>& entries) {
    Json::Value section(Json::objectValue);
    for (const auto& [code, entry] : entries) {
        section[code]["label"] = entry.label;
        section[code]["severity"] = entry.severity;
    }
    return section;
}

}  // namespace

Json::Value RobotCodes::labels() const {
    Json::Value labels;
    labels["status"] = labelSection(status_);
    labels["docking"] = labelSection(docking_);
    labels["errors"] = labelSection(errors_);
    return labels;
}

const CodeLabel* RobotCodes::status(int code) const { return lookup(status_, std::to_string(code)); }
const CodeLabel* RobotCodes::docking(int code) const { return lookup(docking_, std::to_string(code)); }

CodeLabel RobotCodes::error(const std::string& code) const {
    if (const CodeLabel* known = lookup(errors_, code)) return *known;
    if (const CodeLabel* fallback = lookup(errors_, "*")) return *fallback;
    return {"robot error", "warning", ""};
}

const ActionMapping* RobotCodes::action(const std::string& actionType) const {
    return lookup(actions_, actionType);
}

}  // namespace robocomm::tools
