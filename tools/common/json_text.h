// JSON as the tools read and write it: compact, one line, and every number
// in the shortest decimal that reads back to the same double (0.1, never
// 0.10000000000000001).
#pragma once

#include <json/value.h>

#include <string>

namespace robocomm::tools {

std::string compactJson(const Json::Value& value);
// The shortest decimal that round-trips, in JSON's number syntax.
std::string numberText(double value);
// A JSON string literal; UTF-8 text passes through unescaped.
std::string quoted(const std::string& text);
// False, with the reader's errors, when the text is not one JSON document.
bool parseJson(const std::string& text, Json::Value& root, std::string& errors);

}  // namespace robocomm::tools
