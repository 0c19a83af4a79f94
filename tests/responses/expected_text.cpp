#include "expected_text.h"

#include <sstream>

namespace restest {
namespace {

std::string indentLines(const std::string& text, const std::string& prefix) {
    std::istringstream lines(text);
    std::string line;
    std::string out;
    while (std::getline(lines, line)) {
        if (line.empty() && out.empty()) continue;
        if (!out.empty()) out += '\n';
        out += prefix + line;
    }
    return out;
}

// A payload of several lines opens on the line below its key, as the writer
// does for objects and non-empty arrays; a one-line payload stays beside it.
std::string envelope(const std::string& top, const std::string& second, const std::string& name,
                     const std::string& body) {
    const std::string payload = indentLines(body, "      ");
    const bool multiline = payload.find('\n') != std::string::npos;
    const std::string member = "      \"" + name + "\" :" + (multiline ? "\n" + payload : " " + payload.substr(6));
    return writerText("{\n  \"" + top + "\" :\n  {\n    \"" + second + "\" :\n    {\n" + member + "\n    }\n  }\n}");
}

}  // namespace

std::string writerText(const std::string& indented) {
    std::istringstream lines(indented);
    std::string line;
    std::string out;
    bool first = true;
    while (std::getline(lines, line)) {
        if (first && line.empty()) continue;
        if (!first) out += '\n';
        first = false;
        const size_t blanks = line.find_first_not_of(' ');
        const size_t depth = blanks == std::string::npos ? 0 : blanks / 2;
        out += std::string(depth, '\t') + line.substr(depth * 2);
        if (line.size() >= 2 && line.compare(line.size() - 2, 2, " :") == 0) out += ' ';
    }
    return out;
}

std::string answerText(const std::string& name, const std::string& body) {
    return envelope("Response", "Get", name, body);
}

std::string pushText(const std::string& name, const std::string& body) {
    return envelope("Emergency", "Send", name, body);
}

std::string resultText(const std::string& name, bool ok) {
    return envelope("Response", "Set", name, std::string("{\n  \"result\" : ") + (ok ? "true" : "false") + "\n}");
}

}  // namespace restest
