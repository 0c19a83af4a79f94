#include "common/vocabulary.h"

#include <json/value.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>

#include "common/failure.h"
#include "common/json_text.h"

namespace robocomm::tools {

namespace {

// The robot reads 18 and ignores it; 100 acknowledges an error push and is
// only polled by the host, never answered.
constexpr uint8_t kUnanswered[] = {18, kErrorCode};

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
std::string kebab(const std::string& name) {
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

namespace {

// Units of the parameters that have them, as the demo host reads them.
const std::map<std::string, const char*> kUnits = {
    {"x", "m"},        {"y", "m"},          {"theta", "rad"},     {"radian", "rad"}, {"mS", "m/s"},
    {"radS", "rad/s"}, {"leftRPM", "rpm"},  {"rightRPM", "rpm"},  {"size", "bytes"},
};

}  // namespace

std::string parameterType(const ParamSpec& param) {
    const std::string key = param.key;
    switch (param.kind) {
        case ParamKind::Int: return "integer";
        case ParamKind::Double: return "number";
        case ParamKind::Bool: return "0/1/true/false";
        case ParamKind::Text:
            if (key == "data") return "base64 text";
            if (key == "sha256" || key == "checksum") return "SHA-256 of data, 64 hex digits";
            return "text";
    }
    return "";
}

std::string parameterUnit(const ParamSpec& param) {
    const auto unit = kUnits.find(param.key);
    return unit == kUnits.end() ? "" : unit->second;
}

namespace {

bool allDigits(const std::string& text) {
    return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
}

// Edits (insert, delete, replace) that turn a into b.
size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0u : 1u)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

// " (did you mean: set driving?)", or empty when nothing is close.
std::string suggestion(CommandKind kind, const std::string& key) {
    const CommandSpec* best = nullptr;
    size_t bestDistance = std::max<size_t>(2, key.size() / 3) + 1;
    for (const CommandSpec& command : commandTable()) {
        // The other verb's exact name is the likelier slip.
        const size_t distance = editDistance(key, folded(command.name)) + (command.kind == kind ? 1 : 0);
        if (distance < bestDistance) {
            best = &command;
            bestDistance = distance;
        }
    }
    return best ? std::string(" (did you mean: ") + verb(best->kind) + " " + kebabName(*best) + "?)" : "";
}

}  // namespace

const CommandSpec& commandFor(CommandKind kind, const std::string& nameOrCode) {
    if (allDigits(nameOrCode)) {
        const CommandSpec& command = findByCode(std::stoll(nameOrCode));
        if (command.kind != kind)
            throw Failure(Exit::Usage, "command " + nameOrCode + " is not a " + verb(kind) + " command: " +
                                           synopsis(command));
        return command;
    }
    const std::string key = folded(nameOrCode);
    for (const CommandSpec& command : commandTable())
        if (command.kind == kind && folded(command.name) == key) return command;
    throw Failure(Exit::Usage, std::string("unknown command: ") + verb(kind) + " " + nameOrCode +
                                   suggestion(kind, key) + "; robocomm-client list shows them all");
}

const CommandSpec& findByCode(long long code) {
    const CommandSpec* command = code >= 0 && code <= 255 ? findCommand(static_cast<uint8_t>(code)) : nullptr;
    if (!command) throw Failure(Exit::Usage, "unknown command code " + std::to_string(code));
    return *command;
}

std::string kebabName(const CommandSpec& command) { return kebab(command.name); }

std::string synopsis(const CommandSpec& command) {
    if (command.code == kLogDataCode) return "log OUT.tar.gz";
    if (command.code == kMapEditCode) return "send 71 FILE";
    // A name shared with an earlier code: only the code reaches this one.
    const std::string name = answerCode(command) == command.code ? kebabName(command) : std::to_string(command.code);
    std::string text = std::string(verb(command.kind)) + " " + name;
    for (const ParamSpec& param : command.params) text += std::string(" <") + param.key + ">";
    return text;
}

std::string parameterHelp(const CommandSpec& command) {
    std::string text;
    for (const ParamSpec& param : command.params) {
        if (!text.empty()) text += ", ";
        text += std::string(param.key) + ": " + parameterType(param);
        if (!parameterUnit(param).empty()) text += " in " + parameterUnit(param);
    }
    return text;
}

std::string remark(const CommandSpec& command) {
    if (answerCode(command) != command.code)
        return "the same request as code " + std::to_string(answerCode(command)) + " (" + verb(command.kind) + " " +
               kebabName(command) + "), answered as that one";
    switch (command.code) {
        case kMapEditCode: return "map edit (ByPassOneData): a JSON document from a file; README, \"Document shapes\"";
        case kLogDataCode: return "the log bundle, streamed as a tar.gz archive";
        case kErrorCode: return "acknowledges the robot's error push; the robot does not answer it";
        default: return expectsAnswer(command) ? "" : "the robot reads it and does not answer";
    }
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

uint8_t answerCode(const CommandSpec& command) {
    for (const CommandSpec& first : commandTable())
        if (first.kind == command.kind && std::string(first.name) == command.name) return first.code;
    return command.code;
}

bool expectsAnswer(const CommandSpec& command) {
    for (uint8_t code : kUnanswered)
        if (command.code == code) return false;
    return true;
}

}  // namespace robocomm::tools
