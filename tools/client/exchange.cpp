// Single commands and the push watch.
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>

#include "client/commands.h"
#include "common/exchange.h"
#include "common/files.h"
#include "common/vocabulary.h"
#include "robocomm/security.h"

namespace robocomm::client {

using namespace robocomm::tools;

namespace {

constexpr Millis kHeartbeatEvery{1000};
// The longest the watch loop waits before it looks at the clock again.
constexpr Millis kWatchTick{200};
// Between attempts to reach a robot that dropped the link.
constexpr Millis kReconnectPause{1000};

// Writes the answer's base64 "data" member to a file and leaves a note in
// its place; false when the answer has none.
bool saveData(Json::Value& document, const std::string& path) {
    if (!memberAt(document, {"Response", "Get"}).isObject()) return false;
    Json::Value& answers = document["Response"]["Get"];
    for (const std::string& name : answers.getMemberNames()) {
        Json::Value& answer = answers[name];
        if (!answer.isObject() || !answer.isMember("data") || !answer["data"].isString()) continue;
        Json::Value& data = answer["data"];
        const std::vector<unsigned char> bytes = base64Decode(data.asString());
        writeWholeFile(path, std::string(bytes.begin(), bytes.end()));
        data = "<" + std::to_string(bytes.size()) + " bytes saved to " + (path == "-" ? "stdout" : path) + ">";
        return true;
    }
    return false;
}

std::string timeOfDay(bool utc) {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis = std::chrono::duration_cast<Millis>(now.time_since_epoch()).count() % 1000;
    std::tm parts{};
    if (utc) gmtime_r(&seconds, &parts);
    else localtime_r(&seconds, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, utc ? "%Y-%m-%dT%H:%M:%S" : "%H:%M:%S") << '.' << std::setw(3)
         << std::setfill('0') << millis << (utc ? "Z" : "");
    return text.str();
}

// One connection's worth of watching, until `end`; `connected` tells
// whether the connection was made.
void watchConnected(const Settings& settings, const Output& out, Clock::time_point end, bool& connected) {
    Link link(settings.link);
    connected = true;
    out.note("connected to " + settings.link.host + " port " + std::to_string(settings.link.port) +
             "; printing the robot's pushes");
    // The heartbeat tells the robot that someone is listening.
    const std::string heartbeat = requestDocument(findByCode(kHeartbeatCode), {});
    const std::string acknowledgement = requestDocument(findByCode(kErrorCode), {});
    auto nextBeat = Clock::now();
    while (Clock::now() < end) {
        if (Clock::now() >= nextBeat) {
            link.sendCommand(kHeartbeatCode, heartbeat);
            nextBeat = Clock::now() + kHeartbeatEvery;
        }
        const auto until = std::min({end, nextBeat, Clock::now() + kWatchTick});
        const auto message = link.receive(Deadline::after(std::chrono::ceil<Millis>(until - Clock::now())));
        const CommandSpec* command = message ? robocomm::findCommand(message->code) : nullptr;
        if (!command || message->kind != kKindPush) continue;
        Json::Value details;
        details["time"] = timeOfDay(true);
        const std::string prefix = timeOfDay(false) + " push " + std::to_string(command->code) + " ";
        out.answer(*command, link.document(*message), std::cout, details, prefix);
        // Only this connection can acknowledge: the robot serves one client.
        if (settings.acknowledge && message->code == kErrorCode) {
            link.sendCommand(kErrorCode, acknowledgement);
            out.note("acknowledged the error push");
        }
    }
}

// A pause that Ctrl-C cuts short.
void pause(Millis wait) {
    checkInterrupt();
    ::poll(nullptr, 0, static_cast<int>(wait.count()));
    checkInterrupt();
}

}  // namespace

void runRequest(const Settings& settings, const CommandSpec& command, const std::string& document) {
    const Output out(settings.json);
    if (!settings.saveTo.empty()) checkWritable(settings.saveTo);
    Link link(settings.link);
    link.sendCommand(command.code, document);
    if (!expectsAnswer(command)) {
        confirmDelivery(link, command);
        out.outcome(command, "delivered", Json::Value(),
                    kebabName(command) + ": delivered (the robot read it; it does not answer this command)",
                    std::cout);
        return;
    }
    Json::Value answer = link.document(link.awaitCode(answerCode(command)));
    // With the data on stdout, the answer goes beside it on stderr.
    std::ostream& to = settings.saveTo == "-" ? std::cerr : std::cout;
    const bool saved = !settings.saveTo.empty() && saveData(answer, settings.saveTo);
    out.answer(command, answer, to);
    if (!settings.saveTo.empty() && !saved)
        throw Failure(Exit::Usage, "the answer to " + synopsis(command) +
                                       " carries no data to save (--save is for get map-data, get modified-map-data)");
    if (refused(answer)) throw Failure(Exit::Failed, "the robot refused command " + std::to_string(command.code));
}

void runWatch(const Settings& settings, Millis duration) {
    const Output out(settings.json);
    const auto end = Clock::now() + duration;
    try {
        bool everConnected = false;
        for (;;) {
            bool connected = false;
            try {
                watchConnected(settings, out, end, connected);
                return;
            } catch (const Failure& failure) {
                everConnected = everConnected || connected;
                // A robot that was never reached is not waited for.
                const bool dropped = failure.status() == Exit::Unreachable && everConnected;
                if (!dropped || !settings.reconnect || Clock::now() >= end) throw;
                if (connected) out.note(std::string(failure.what()) + "; reconnecting (--no-reconnect exits instead)");
                pause(std::min(kReconnectPause, std::chrono::ceil<Millis>(end - Clock::now())));
            }
        }
    } catch (const Failure& failure) {
        // Ctrl-C is how a watch is meant to end.
        if (failure.status() != Exit::Interrupted) throw;
    }
}

void printCommandList(const Output& out) {
    for (const CommandSpec& command : commandTable()) {
        std::string help = parameterHelp(command);
        const std::string note = remark(command);
        if (!note.empty()) help += (help.empty() ? "" : "; ") + note;
        if (out.json()) {
            Json::Value line;
            line["name"] = kebabName(command);
            line["code"] = command.code;
            line["usage"] = synopsis(command);
            line["parameters"] = parameterHelp(command);
            line["remark"] = note;
            std::cout << compactJson(line) << "\n";
            continue;
        }
        std::cout << std::setw(5) << int(command.code) << "  ";
        if (help.empty()) std::cout << synopsis(command) << "\n";
        else std::cout << std::left << std::setw(40) << synopsis(command) << std::right << "  " << help << "\n";
    }
    std::cout << std::flush;
}

}  // namespace robocomm::client
