// Expected documents are written as compact JSON with their keys in the
// writer's sorted order; these helpers turn them into the exact text the
// library's writer produces.
#pragma once

#include <string>

namespace restest {

// One tab per level, " : " after a key, an object or a non-empty array opens
// on the line below its key, every member and element on a line of its own.
std::string writerLayout(const std::string& compact);
// The body placed under "Response" -> "Get" -> name.
std::string answer(const std::string& name, const std::string& body);
// The body placed under "Emergency" -> "Send" -> name.
std::string push(const std::string& name, const std::string& body);
// "Response" -> "Set" -> name -> "result".
std::string result(const std::string& name, bool ok);

}  // namespace restest
