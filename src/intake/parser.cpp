// The command parser: one inbound message into its mailbox.
#include <iostream>
#include <memory>
#include <mutex>

#include <json/reader.h>

#include "intake/command_table.h"
#include "intake/immediate_commands.h"
#include "intake/mailbox_access.h"
#include "link/log_lines.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace robocomm {
namespace {

// The JSON library's own conversions, so a null document reads as 0, 0.0 and
// false, and a missing text throws.
struct StoreParam {
    const Json::Value& value;
    void operator()(int32_t* field) const { *field = value.asInt(); }
    void operator()(double* field) const { *field = value.asDouble(); }
    void operator()(bool* field) const { *field = value.asBool(); }
    // Bytes up to the first NUL, as the text's C string reads.
    void operator()(std::string* field) const { *field = value.asCString(); }
};

std::string plainBody(std::string body) {
    if (enableEnc == 0) {
        return body;
    }
    std::string text = decryptData(body, key, iv);
    if (text.empty()) {
        std::cout << "JSON 데이터 복호화 실패" << std::endl;
    }
    return text;
}

}  // namespace

bool parseDocument(const std::string& text, Json::Value& root) {
    // One reader per thread, made once: a reader is not safe to share, and the
    // host may read the map-edit file while the receive thread parses.
    thread_local const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    std::string errors;
    if (reader->parse(text.data(), text.data() + text.size(), &root, &errors)) {
        return true;
    }
    robocomm::logOut() << "Failed to parse JSON: " << errors;
    return false;
}

const Json::Value& commandNode(const Json::Value& root, const char* key) { return root["Request"]["Set"][key]; }

void fillParams(const CommandSpec& command, const Json::Value& root) {
    if (command.params.empty()) {
        return;
    }
    const Json::Value& node = commandNode(root, command.key);
    for (const ParamSpec& param : command.params) {
        std::visit(StoreParam{node[param.key]}, param.field);
    }
}

void fillAndRaise(const CommandSpec& command, const Inbound& in) {
    std::lock_guard<std::mutex> lock(mailboxMutex());
    fillParams(command, in.root);
    storePending(*command.pending, 1);
}

}  // namespace robocomm

void parseData(const std::string& message) {
    using namespace robocomm;
    const auto code = static_cast<uint8_t>(message[0]);
    // Throws std::out_of_range for an empty message; the receive loop reports it.
    const std::string text = plainBody(message.substr(1));
    // A document that does not parse still lets the command through.
    Json::Value root;
    parseDocument(text, root);
    printFirstByte(code);

    const CommandSpec* command = findCommand(code);
    if (command == nullptr) {
        std::cerr << "Unknown data format" << std::endl;
        return;
    }
    command->handle(*command, Inbound{message, text, root});
}
