#include "client/output.h"

#include <iostream>

#include "common/json_text.h"
#include "common/vocabulary.h"

namespace robocomm::client {

using namespace robocomm::tools;

namespace {

// Longest line an object or a list is written on before it is split.
constexpr size_t kInlineWidth = 72;

bool isScalar(const Json::Value& value) { return !value.isObject() && !value.isArray(); }

std::string scalarText(const Json::Value& value) {
    if (value.isString()) return value.asString().empty() ? "\"\"" : value.asString();
    return compactJson(value);
}

// "x=1.5 y=2", "[1, 2, 3]", or empty when the value needs lines of its own.
std::string inlineText(const Json::Value& value) {
    if (isScalar(value)) return scalarText(value);
    std::string text;
    for (auto member = value.begin(); member != value.end(); ++member) {
        if (!isScalar(*member)) return "";
        if (!text.empty()) text += value.isArray() ? ", " : " ";
        text += (value.isObject() ? member.name() + "=" : "") + scalarText(*member);
    }
    if (value.isArray()) text = "[" + text + "]";
    return text.size() <= kInlineWidth ? text : "";
}

void writeLines(const Json::Value& value, const std::string& indent, std::string& out) {
    for (auto member = value.begin(); member != value.end(); ++member) {
        const std::string label = value.isArray() ? "-" : member.name() + ":";
        const std::string text = inlineText(*member);
        if (!text.empty() || member->empty()) {
            out += indent + label + " " + (text.empty() ? (member->isArray() ? "[]" : "{}") : text) + "\n";
            continue;
        }
        out += indent + label + "\n";
        writeLines(*member, indent + "  ", out);
    }
}

// Response/Get/<name>, Response/Set/<name>, Emergency/Send/<name>: the
// three levels every robot document has.
const Json::Value* enveloped(const Json::Value& document, std::string& name) {
    for (const char* top : {"Response", "Emergency"}) {
        const Json::Value& outer = document[top];
        if (!outer.isObject() || outer.size() != 1) continue;
        const Json::Value& middle = *outer.begin();
        if (!middle.isObject() || middle.size() != 1) continue;
        name = middle.begin().name();
        return &*middle.begin();
    }
    return nullptr;
}

// The document without its envelope, one line per value that does not fit
// on the line before; numbers in their shortest form.
std::string readable(const Json::Value& document) {
    std::string name;
    const Json::Value* body = enveloped(document, name);
    if (!body) return compactJson(document) + "\n";
    if (body->isObject() && body->size() == 1 && (*body)["result"].isBool())
        return name + ": " + ((*body)["result"].asBool() ? "done" : "refused by the robot") + "\n";
    const std::string text = inlineText(*body);
    if (!text.empty() || body->empty()) return name + ": " + text + "\n";
    std::string out = name + ":\n";
    writeLines(*body, "  ", out);
    return out;
}

// {"name":...,"code":...,"<what>":...,details...}: the members in the
// order a reader looks for them, which a Json::Value would sort away.
std::string jsonLine(const CommandSpec& command, const char* what, const Json::Value& value,
                     const Json::Value& details) {
    std::string line = "{\"name\":" + quoted(kebabName(command)) + ",\"code\":" + std::to_string(command.code) +
                       "," + quoted(what) + ":" + compactJson(value);
    for (auto member = details.begin(); member != details.end(); ++member)
        line += "," + quoted(member.name()) + ":" + compactJson(*member);
    return line + "}";
}

}  // namespace

void Output::answer(const CommandSpec& command, const Json::Value& document, std::ostream& to,
                    const Json::Value& details, const std::string& prefix) const {
    if (json_) to << jsonLine(command, "answer", document, details) << std::endl;
    else to << prefix << readable(document) << std::flush;
}

void Output::outcome(const CommandSpec& command, const std::string& outcome, const Json::Value& details,
                     const std::string& readable, std::ostream& to) const {
    if (json_) to << jsonLine(command, "outcome", outcome, details) << std::endl;
    else to << readable << std::endl;
}

void Output::note(const std::string& text) const {
    if (!json_) {
        std::cerr << "robocomm-client: " << text << std::endl;
        return;
    }
    Json::Value line;
    line["note"] = text;
    std::cerr << compactJson(line) << std::endl;
}

void Output::error(const Failure& failure) const {
    if (!json_) {
        std::cerr << "robocomm-client: " << failure.what() << std::endl;
        return;
    }
    Json::Value line;
    line["error"] = failure.what();
    line["status"] = static_cast<int>(failure.status());
    std::cerr << compactJson(line) << std::endl;
}

}  // namespace robocomm::client
