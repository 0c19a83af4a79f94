// Expected document texts, written readably: two blanks of indentation stand
// for each tab the writer puts out, and the blank the writer leaves after a
// key whose value opens on the next line is added back. The result is the
// exact text to compare with.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

namespace restest {

std::string writerText(const std::string& indented);
// A payload written at the top level, placed below "Response" -> "Get" -> name.
std::string answerText(const std::string& name, const std::string& body);
// A payload placed below "Emergency" -> "Send" -> name.
std::string pushText(const std::string& name, const std::string& body);
// "Response" -> "Set" -> name -> "result".
std::string resultText(const std::string& name, bool ok);

// One builder call and the exact text it must return.
struct DocumentCase {
    const char* name;
    std::function<std::string()> build;
    std::string expected;
};

inline void PrintTo(const DocumentCase& c, std::ostream* out) { *out << c.name; }

inline std::string caseName(const ::testing::TestParamInfo<DocumentCase>& info) { return info.param.name; }

class DocumentTextTest : public ::testing::TestWithParam<DocumentCase> {};

}  // namespace restest
