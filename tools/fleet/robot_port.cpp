#include "fleet/robot_port.h"

#include "common/json_text.h"

namespace robocomm::fleet {

std::map<std::string, std::string> actionValues(const Json::Value& actionParameters) {
    std::map<std::string, std::string> values;
    for (const Json::Value& parameter : actionParameters) {
        if (!parameter.isObject() || !parameter["key"].isString()) continue;
        const Json::Value& value = parameter["value"];
        values[parameter["key"].asString()] = value.isString()    ? value.asString()
                                              : value.isBool()    ? (value.asBool() ? "1" : "0")
                                              : value.isNumeric() ? tools::numberText(value.asDouble())
                                                                  : tools::compactJson(value);
    }
    return values;
}

std::optional<std::vector<std::string>> commandArguments(const tools::ActionMapping& mapping,
                                                         const std::map<std::string, std::string>& values,
                                                         std::string& missing) {
    std::vector<std::string> arguments;
    for (const std::string& parameter : mapping.parameters) {
        if (parameter.empty() || parameter[0] != '$') {
            arguments.push_back(parameter);
            continue;
        }
        const auto found = values.find(parameter.substr(1));
        if (found == values.end()) {
            missing = parameter.substr(1);
            return std::nullopt;
        }
        arguments.push_back(found->second);
    }
    return arguments;
}

}  // namespace robocomm::fleet
