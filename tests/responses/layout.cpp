#include "layout.h"

namespace restest {

std::string writerLayout(const std::string& compact) {
    std::string out;
    int depth = 0;
    bool inString = false;
    const auto newLine = [&] { out += '\n' + std::string(depth, '\t'); };
    for (size_t i = 0; i < compact.size(); ++i) {
        const char c = compact[i];
        if (c == '"') inString = !inString;
        if (inString || c == '"') {
            out += c;
        } else if ((c == '{' || c == '[') && (compact[i + 1] == '}' || compact[i + 1] == ']')) {
            out += compact.substr(i++, 2);
        } else if (c == '{' || c == '[') {
            if (out.size() > 3 && out.compare(out.size() - 3, 3, " : ") == 0) newLine();
            out += c;
            ++depth;
            newLine();
        } else if (c == '}' || c == ']') {
            --depth;
            newLine();
            out += c;
        } else if (c == ',') {
            out += c;
            newLine();
        } else {
            out += c == ':' ? std::string(" : ") : std::string(1, c);
        }
    }
    return out;
}

std::string answer(const std::string& name, const std::string& body) {
    return writerLayout(R"({"Response":{"Get":{")" + name + "\":" + body + "}}}");
}

std::string push(const std::string& name, const std::string& body) {
    return writerLayout(R"({"Emergency":{"Send":{")" + name + "\":" + body + "}}}");
}

std::string result(const std::string& name, bool ok) {
    return writerLayout(R"({"Response":{"Set":{")" + name + R"(":{"result":)" + (ok ? "true" : "false") + "}}}}");
}

}  // namespace restest
