// JSON as the tools read and write it: compact, one line, and every number
// in the shortest decimal that reads back to the same double (0.1, never
// 0.10000000000000001).
#pragma once

#include <json/value.h>

#include <initializer_list>
#include <string>

namespace robocomm::tools {

std::string compactJson(const Json::Value& value);
// The shortest decimal that round-trips, in JSON's number syntax.
std::string numberText(double value);
// A JSON string literal; UTF-8 text passes through unescaped.
std::string quoted(const std::string& text);
// False, with the reader's errors, when the text is not one JSON document
// or nests deeper than kJsonDepth; never throws.
bool parseJson(const std::string& text, Json::Value& root, std::string& errors);
// Deeper than anything the robot or a map edit holds, shallow enough that
// reading a hostile document cannot exhaust the stack.
constexpr int kJsonDepth = 64;

// The member reached through `path`, or null when a step is not an object
// that has it: reads a document of unknown shape without throwing.
const Json::Value& memberAt(const Json::Value& value, std::initializer_list<const char*> path);
// The number (or boolean) there, or 0 when there is none: 12.5 for
// numberAt(answer, {"battery", "voltage"}).
double numberAt(const Json::Value& value, std::initializer_list<const char*> path);

}  // namespace robocomm::tools
