// What a host program's codes mean: the labels and severities of the
// robot's status, docking and error codes, and which command carries out
// which VDA 5050 action, and what the robot is. One JSON table (robot-codes.json, the demo host's
// meanings) built into the tools, which a site's own file may override
// entry by entry. The console shows the labels; the fleet bridge maps
// them to VDA 5050 states.
#pragma once

#include <json/value.h>

#include <map>
#include <string>
#include <vector>

namespace robocomm::tools {

// "info", "warning" or "fatal".
struct CodeLabel {
    std::string label;     // "charging"
    std::string severity;  // "info"
    // What the fleet bridge reads from a status: "charging",
    // "emergencyStop", or empty.
    std::string meaning;
};

struct ActionMapping {
    std::string command;  // "target-position", a set command's name
    // The command's parameters in table order: literal text, or "$key"
    // for the VDA 5050 action parameter of that key ("$x").
    std::vector<std::string> parameters;
    // VDA 5050 action scopes: "INSTANT", "NODE", "EDGE"; none for the
    // bridge's own use (the "move" to a node).
    std::vector<std::string> scopes;
    std::string description;
};

class RobotCodes {
public:
    // The table built into the tools.
    static RobotCodes builtIn();
    // Entries of `overrides` (the same layout) replace or add to this table.
    // Throws Failure(Usage) naming the bad entry.
    void apply(const Json::Value& overrides);
    // The same from a site's file (`--labels FILE`, `--robot-codes FILE`).
    // Throws Failure(Usage) naming the file.
    void applyFile(const std::string& path);

    // nullptr for a code the table does not know.
    const CodeLabel* status(int code) const;
    const CodeLabel* docking(int code) const;
    // An unknown error code gets the "*" entry.
    CodeLabel error(const std::string& code) const;
    // nullptr for an action the robot cannot carry out.
    const ActionMapping* action(const std::string& actionType) const;
    const std::map<std::string, ActionMapping>& actions() const { return actions_; }
    // The status, docking and error labels for a display, keyed by code:
    // {"status": {"1": {"label": "charging", "severity": "info"}}, "docking": {...}, "errors": {...}}.
    Json::Value labels() const;
    // What the robot is for a VDA 5050 factsheet: "typeSpecification" and
    // "physicalParameters" as the standard writes them.
    const std::map<std::string, Json::Value>& factsheet() const { return factsheet_; }

private:
    std::map<std::string, CodeLabel> status_;
    std::map<std::string, CodeLabel> docking_;
    std::map<std::string, CodeLabel> errors_;
    std::map<std::string, ActionMapping> actions_;
    std::map<std::string, Json::Value> factsheet_;
};

// The table's text as built in (robot-codes.json).
extern const char kRobotCodesJson[];

}  // namespace robocomm::tools
