#include "console/parameters.h"

#include <vector>

#include "common/failure.h"
#include "common/json_text.h"
#include "common/vocabulary.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// The parameters of a JSON array body as the command line would give them.
std::vector<std::string> parameterWords(const std::string& body) {
    Json::Value root;
    std::string errors;
    if (body.empty()) return {};
    if (!parseJson(body, root, errors) || !root.isArray())
        throw Failure(Exit::Usage, "the body must be a JSON array of parameters ([] for none)");
    std::vector<std::string> words;
    for (const Json::Value& value : root) {
        if (value.isString()) words.push_back(value.asString());
        else if (value.isBool()) words.push_back(value.asBool() ? "true" : "false");
        else if (value.isNumeric()) words.push_back(numberText(value.asDouble()));
        else throw Failure(Exit::Usage, "a parameter must be a number, a boolean or a text");
    }
    return words;
}

}  // namespace

std::string commandDocument(const CommandSpec& command, const std::string& body) {
    const std::vector<std::string> words = parameterWords(body);
    if (words.size() != command.params.size())
        throw Failure(Exit::Usage, std::to_string(command.params.size()) + " parameters wanted: " + synopsis(command));
    return requestDocument(command, words);
}

Json::Value jsonBody(const std::string& body) {
    Json::Value document;
    std::string errors;
    if (!parseJson(body, document, errors)) throw Failure(Exit::Usage, "the body is not a JSON document: " + errors);
    return document;
}

}  // namespace robocomm::console
