#include "client/vocabulary.h"

#include <json/value.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "client/failure.h"
#include "client/link.h"

namespace robocomm::client {

namespace {

// The robot reads 18 and ignores it; 100 acknowledges an error push and is
// only polled by the host, never answered.
constexpr uint8_t kUnanswered[] = {18, 100};

bool isUpper(char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; }
bool isLower(char c) { return std::islower(static_cast<unsigned char>(c)) != 0; }
bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// Only letters and digits, lower case: "motor-manual-rpm" == "MotorManual_RPM".
std::string folded(const std::string& name) {
    std::string key;
    for (char c : name)
        if (std::isalnum(static_cast<unsigned char>(c))) key += static_cast<char>(std::tolower(c));
    return key;
}

const char* verb(CommandKind kind) { return kind == CommandKind::Get ? "get" : "set"; }

Failure badValue(const ParamSpec& param, const std::string& arg, const char* expected) {
    return Failure(Exit::Usage, std::string("<") + param.key + ">: '" + arg + "' is not " + expected);
}

Json::Value parseInt(const ParamSpec& param, const std::string& arg) {
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(arg.c_str(), &end, 10);
    if (arg.empty() || *end != '\0' || errno != 0 || value < std::numeric_limits<int32_t>::min() ||
        value > std::numeric_limits<int32_t>::max())
        throw badValue(param, arg, "a 32-bit integer");
    return Json::Value(static_cast<Json::Int>(value));
}

Json::Value parseDouble(const ParamSpec& param, const std::string& arg) {
    char* end = nullptr;
    const double value = std::strtod(arg.c_str(), &end);
    if (arg.empty() || *end != '\0' || !std::isfinite(value)) throw badValue(param, arg, "a number");
    return Json::Value(value);
}

Json::Value parseBool(const ParamSpec& param, const std::string& arg) {
    const std::string word = folded(arg);
    if (word == "1" || word == "true" || word == "on" || word == "yes") return Json::Value(true);
    if (word == "0" || word == "false" || word == "off" || word == "no") return Json::Value(false);
    throw badValue(param, arg, "true or false");
}

Json::Value parseParam(const ParamSpec& param, const std::string& arg) {
    switch (param.kind) {
        case ParamKind::Int: return parseInt(param, arg);
        case ParamKind::Double: return parseDouble(param, arg);
        case ParamKind::Bool: return parseBool(param, arg);
        case ParamKind::Text: return Json::Value(arg);
    }
    return Json::Value();
}

// "TargetPosition" -> "target-position", "MotorManual_RPM" -> "motor-manual-rpm".
std::string kebabName(const std::string& name) {
    // Its capitals do not mark its words.
    if (name == "OTAdata") return "ota-data";
    std::string out;
    const auto breakWord = [&out] {
        if (!out.empty() && out.back() != '-') out += '-';
    };
    for (size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        const char before = i > 0 ? name[i - 1] : '\0';
        const char after = i + 1 < name.size() ? name[i + 1] : '\0';
        if (c == '_') {
            breakWord();
            continue;
        }
        // A word starts at a capital after a lower-case letter or a digit, and
        // at the last capital of an acronym ("IRStatus").
        if (isUpper(c) && (isLower(before) || isDigit(before) || (isUpper(before) && isLower(after)))) breakWord();
        out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

}  // namespace

const CommandSpec& findByName(CommandKind kind, const std::string& name) {
    const std::string key = folded(name);
    for (const CommandSpec& command : commandTable())
        if (command.kind == kind && folded(command.name) == key) return command;
    throw Failure(Exit::Usage, std::string("unknown command: ") + verb(kind) + " " + name +
                                   " (robocomm-client list shows them all)");
}

const CommandSpec& findByCode(int code) {
    const CommandSpec* command = code >= 0 && code <= 255 ? findCommand(static_cast<uint8_t>(code)) : nullptr;
    if (!command) throw Failure(Exit::Usage, "unknown command code " + std::to_string(code));
    return *command;
}

std::string synopsis(const CommandSpec& command) {
    if (command.code == kLogDataCode) return "log OUT.tar.gz";
    std::string text = std::string(verb(command.kind)) + " " + kebabName(command.name);
    for (const ParamSpec& param : command.params) text += std::string(" <") + param.key + ">";
    return text;
}

std::string requestDocument(const CommandSpec& command, const std::vector<std::string>& args) {
    if (args.size() != command.params.size())
        throw Failure(Exit::Usage, "usage: robocomm-client " + synopsis(command));
    Json::Value root;
    if (command.params.empty()) {
        root["Request"][command.kind == CommandKind::Get ? "Get" : "Set"][command.name] = Json::objectValue;
        return compactJson(root);
    }
    Json::Value& node = root["Request"]["Set"][command.key];
    for (size_t i = 0; i < args.size(); ++i) node[command.params[i].key] = parseParam(command.params[i], args[i]);
    return compactJson(root);
}

uint8_t answerCode(const CommandSpec& command) { return findByName(command.kind, command.name).code; }

bool expectsAnswer(const CommandSpec& command) {
    for (uint8_t code : kUnanswered)
        if (command.code == code) return false;
    return true;
}

}  // namespace robocomm::client
