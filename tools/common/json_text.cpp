#include "common/json_text.h"

#include <json/reader.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>

namespace robocomm::tools {

std::string numberText(double value) {
    // JSON has no infinity or NaN; the robot never sends them in a document.
    if (!std::isfinite(value)) return "null";
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return std::string(text, end);
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (byte < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            out += escape;
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string compactJson(const Json::Value& value) {
    switch (value.type()) {
        case Json::nullValue: return "null";
        case Json::intValue: return std::to_string(value.asLargestInt());
        case Json::uintValue: return std::to_string(value.asLargestUInt());
        case Json::realValue: return numberText(value.asDouble());
        case Json::stringValue: return quoted(value.asString());
        case Json::booleanValue: return value.asBool() ? "true" : "false";
        case Json::arrayValue: {
            std::string out = "[";
            for (Json::ArrayIndex i = 0; i < value.size(); ++i) out += (i ? "," : "") + compactJson(value[i]);
            return out + "]";
        }
        case Json::objectValue: {
            std::string out = "{";
            for (auto member = value.begin(); member != value.end(); ++member)
                out += (out.size() > 1 ? "," : "") + quoted(member.name()) + ":" + compactJson(*member);
            return out + "}";
        }
    }
    return "null";
}

bool parseJson(const std::string& text, Json::Value& root, std::string& errors) {
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = kJsonDepth;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &root, &errors);
    } catch (const Json::Exception&) {
        // The reader throws rather than report a document past its depth.
        errors = "nested deeper than " + std::to_string(kJsonDepth) + " levels";
        return false;
    }
}

const Json::Value& memberAt(const Json::Value& value, std::initializer_list<const char*> path) {
    static const Json::Value kNull;
    const Json::Value* at = &value;
    for (const char* name : path) {
        if (!at->isObject()) return kNull;
        at = &(*at)[name];
    }
    return *at;
}

double numberAt(const Json::Value& value, std::initializer_list<const char*> path) {
    const Json::Value& at = memberAt(value, path);
    return at.isNumeric() || at.isBool() ? at.asDouble() : 0;
}

}  // namespace robocomm::tools
