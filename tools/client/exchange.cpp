// Single commands and the push watch.
#include <json/writer.h>

#include <algorithm>
#include <csignal>
#include <iomanip>
#include <iostream>

#include "client/commands.h"
#include "client/failure.h"
#include "client/files.h"
#include "client/vocabulary.h"
#include "robocomm/security.h"

namespace robocomm::client {

namespace {

constexpr uint8_t kHeartbeatCode = 64;
constexpr Millis kHeartbeatEvery{1000};
// The longest the watch loop waits before it looks at the clock and Ctrl-C again.
constexpr Millis kWatchTick{200};

volatile std::sig_atomic_t interrupted = 0;

void printDocument(const Json::Value& document, bool json) {
    std::cout << (json ? compactJson(document) : Json::writeString(Json::StreamWriterBuilder(), document)) << std::endl;
}

// The robot's "result": false, or a firmware push reporting a failed checksum.
bool refused(const Json::Value& document) {
    const Json::Value& results = document["Response"]["Set"];
    for (const std::string& name : results.getMemberNames())
        if (results[name]["result"].isBool() && !results[name]["result"].asBool()) return true;
    const Json::Value& state = document["Emergency"]["Send"]["OTA"]["state"];
    return state.isInt() && state.asInt() == kOtaChecksumFailed;
}

// Writes the answer's base64 "data" member to a file and leaves a note in its place.
void saveData(Json::Value& document, const std::string& path) {
    Json::Value& answers = document["Response"]["Get"];
    for (const std::string& name : answers.getMemberNames()) {
        const Json::Value& answer = answers[name];
        if (!answer.isObject() || !answer.isMember("data") || !answer["data"].isString()) continue;
        Json::Value& data = answers[name]["data"];
        const std::vector<unsigned char> bytes = base64Decode(data.asString());
        writeWholeFile(path, std::string(bytes.begin(), bytes.end()));
        data = "<" + std::to_string(bytes.size()) + " bytes saved to " + path + ">";
        return;
    }
    throw Failure(Exit::Failed, "the answer carries no data to save");
}

}  // namespace

void runRequest(const Settings& settings, const CommandSpec& command, const std::string& document) {
    Link link(settings.link);
    link.sendCommand(command.code, document);
    if (!expectsAnswer(command)) {
        if (!settings.json) std::cout << "sent command " << int(command.code) << "; the robot does not answer it\n";
        return;
    }
    Json::Value answer = link.document(link.awaitCode(answerCode(command)));
    if (!settings.saveTo.empty()) saveData(answer, settings.saveTo);
    printDocument(answer, settings.json);
    if (refused(answer)) throw Failure(Exit::Failed, "the robot refused command " + std::to_string(command.code));
}

void runWatch(const Settings& settings, Millis duration) {
    Link link(settings.link);
    // The heartbeat tells the robot that someone is listening.
    const std::string heartbeat = requestDocument(findByCode(kHeartbeatCode), {});
    interrupted = 0;
    const auto previous = std::signal(SIGINT, [](int) { interrupted = 1; });
    const auto end = Clock::now() + duration;
    auto nextBeat = Clock::now();
    while (!interrupted && Clock::now() < end) {
        if (Clock::now() >= nextBeat) {
            link.sendCommand(kHeartbeatCode, heartbeat);
            nextBeat = Clock::now() + kHeartbeatEvery;
        }
        const auto until = std::min({end, nextBeat, Clock::now() + kWatchTick});
        const auto message = link.receive(Deadline::after(std::chrono::ceil<Millis>(until - Clock::now())));
        if (!message || message->kind != kKindPush) continue;
        const Json::Value push = link.document(*message);
        if (settings.json) {
            Json::Value line;
            line["code"] = message->code;
            line["kind"] = message->kind;
            line["document"] = push;
            std::cout << compactJson(line) << std::endl;
        } else {
            std::cout << "push " << int(message->code) << ":\n";
            printDocument(push, false);
        }
    }
    std::signal(SIGINT, previous);
}

void printCommandList(bool json) {
    Json::Value list(Json::arrayValue);
    for (const CommandSpec& command : commandTable()) {
        if (!json) {
            std::cout << std::setw(5) << int(command.code) << "  " << synopsis(command) << "\n";
            continue;
        }
        Json::Value entry;
        entry["code"] = command.code;
        entry["usage"] = synopsis(command);
        list.append(entry);
    }
    if (json) std::cout << compactJson(list) << std::endl;
}

}  // namespace robocomm::client
