// The demo host under a long session: about a thousand mixed commands, each
// waited for, and the host's resident memory watched.
#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "e2e/processes.h"
#include "intake/command_table.h"
#include "link/frame.h"
#include "robocomm/security.h"
#include "support/link_client.h"

namespace {

using robocomm::CommandKind;
using robocomm::CommandSpec;
using robocomm::ParamKind;

constexpr int kCommands = 1000;
constexpr int kSettled = 100;
constexpr long kAllowedGrowthKiB = 1024;
constexpr int kLostTolerated = 10;

struct Command {
    uint8_t code;
    std::string document;
};

// A request document as the operator's client writes it.
std::string requestDocument(const CommandSpec& command) {
    Json::Value root;
    if (command.params.empty()) {
        root["Request"][command.kind == CommandKind::Get ? "Get" : "Set"][command.name] = Json::objectValue;
    } else {
        Json::Value& node = root["Request"]["Set"][command.key];
        for (const robocomm::ParamSpec& param : command.params)
            node[param.key] = param.kind == ParamKind::Double ? Json::Value(0.5)
                              : param.kind == ParamKind::Bool ? Json::Value(true)
                                                              : Json::Value(1);
    }
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, root);
}

// Every command the host answers with a document under its own code: not the
// unanswered ones (18, 100), the log stream (26), the firmware data (81, its
// verdict is a push) or 101 (answered as 2); and only numeric parameters.
std::vector<Command> sessionMix() {
    std::vector<Command> mix;
    for (const CommandSpec& command : robocomm::commandTable()) {
        const uint8_t code = command.code;
        if (code == 18 || code == 26 || code == robocomm::kOtaDataCode || code == 100 || code == 101) continue;
        bool numeric = true;
        for (const robocomm::ParamSpec& param : command.params) numeric = numeric && param.kind != ParamKind::Text;
        if (numeric) mix.push_back({command.code, requestDocument(command)});
    }
    return mix;
}

long residentKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string field;
    long kib = -1;
    while (status >> field)
        if (field == "VmRSS:" && status >> kib) break;
    return kib;
}

TEST(Soak, ThousandCommandsAreAnsweredInFlatMemory) {
    generateKeyAndIV(password, key, iv);
    enableEnc = 1;
    e2e::DemoHost host;
    ASSERT_TRUE(host.awaitOutput("demo host: serving")) << host.output();
    robotest::LinkClient client;
    ASSERT_TRUE(client.connected());

    const std::vector<Command> mix = sessionMix();
    const auto begin = std::chrono::steady_clock::now();
    int answered = 0;
    int undecipherable = 0;
    long settledKiB = -1;
    for (int sent = 1; sent <= kCommands; ++sent) {
        const Command& command = mix[static_cast<size_t>(sent) % mix.size()];
        // Waiting for each answer keeps every command in a read of its own.
        client.sendCommand(command.code, command.document);
        const auto answer = client.readMessage(command.code);
        if (answer) {
            ++answered;
            if (!e2e::parseJson(*answer).isMember("Response")) ++undecipherable;
        }
        if (sent == kSettled) settledKiB = residentKiB(host.pid());
        // Each lost answer costs a 5 s wait: a broken link fails, not times out.
        if (sent - answered >= kLostTolerated) break;
    }
    const long finalKiB = residentKiB(host.pid());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);

    std::cout << "soak: " << kCommands << " commands sent, " << answered << " answered, " << undecipherable
              << " undecipherable; host resident memory " << settledKiB << " KiB after " << kSettled << ", "
              << finalKiB << " KiB at the end; " << seconds.count() << " s\n";
    EXPECT_EQ(answered, kCommands);
    EXPECT_EQ(undecipherable, 0);
    EXPECT_GT(settledKiB, 0);
    EXPECT_LE(finalKiB - settledKiB, kAllowedGrowthKiB);
    EXPECT_EQ(host.stop(), 0);
}

}  // namespace
