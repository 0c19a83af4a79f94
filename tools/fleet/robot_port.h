// The robot as the order executor and the instant actions see it: an
// action carried out by the command the robot codes table names. The
// vehicle hands it to the robot's session; tests hand it to a fake.
#pragma once

#include <json/value.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/robot_codes.h"

namespace robocomm::fleet {

// Where the robot is, in metres and radians on its map.
struct Pose {
    double x = 0;
    double y = 0;
    double theta = 0;
};

class RobotPort {
public:
    virtual ~RobotPort() = default;
    // Gets "" once the robot carried the command out, else why not. Called
    // later, never from within carryOut.
    using Done = std::function<void(const std::string& failure)>;
    // `arguments` are the command's parameters in table order.
    virtual void carryOut(const tools::ActionMapping& mapping, const std::vector<std::string>& arguments, Done done) = 0;
};

// An action's actionParameters as text by key: {"x": "1.5"}; a true is "1".
std::map<std::string, std::string> actionValues(const Json::Value& actionParameters);

// The mapping's parameters with every "$key" replaced by values[key];
// nullopt, with the missing key in `missing`, when one is not given.
std::optional<std::vector<std::string>> commandArguments(const tools::ActionMapping& mapping,
                                                         const std::map<std::string, std::string>& values,
                                                         std::string& missing);

}  // namespace robocomm::fleet
