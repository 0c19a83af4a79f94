// Command round trips against a running robot (scripts/bench.sh --round-trip
// starts the demo host): one command at a time, each after the link's pause
// plus a random wait, so that it lands anywhere in the robot's control loop
// and in the receive loop's waits. Timed from the request's send to the
// answer's arrival. Prints one table row per command: p50, p90, p99, worst.
//   robocomm_round_trip [--count N] [--plain]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "common/link.h"
#include "common/vocabulary.h"

namespace {

using namespace robocomm::tools;
using robocomm::CommandKind;
using robocomm::CommandSpec;
using Micros = std::chrono::duration<double, std::micro>;

struct Measured {
    const char* title;
    CommandKind kind;
    const char* name;
    std::vector<std::string> args;
};

const Measured kCommands[] = {
    {"get position", CommandKind::Get, "position", {}},
    {"set emergency-stop", CommandKind::Set, "emergency-stop", {}},
};

// More than the client's pause between frames, plus up to one 100 ms poll
// pause and several 20 ms host ticks.
constexpr auto kSettle = std::chrono::milliseconds(160);
constexpr int kJitterMicros = 100000;

double percentile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    const auto index = static_cast<size_t>(share * static_cast<double>(values.size() - 1) + 0.5);
    return values[index];
}

// The robot program was just started: its server may not listen yet.
Link connectWhenServing(const LinkOptions& options) {
    const Deadline patience = Deadline::after(std::chrono::seconds(5));
    for (;;) {
        try {
            return Link(options);
        } catch (const Failure&) {
            if (patience.passed()) throw;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    int count = 200;
    LinkOptions options;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--count") == 0 && i + 1 < argc) count = std::max(1, std::atoi(argv[++i]));
        else if (std::strcmp(argv[i], "--plain") == 0) options.plain = true;
        else {
            std::fprintf(stderr, "usage: robocomm_round_trip [--count N] [--plain]\n");
            return 2;
        }
    }
    try {
        Link link = connectWhenServing(options);
        std::mt19937 random(20261125);
        std::uniform_int_distribution<int> jitter(0, kJitterMicros);
        std::printf("| command | p50 | p90 | p99 | worst |\n|---|---|---|---|---|\n");
        for (const Measured& measured : kCommands) {
            const CommandSpec& command = commandFor(measured.kind, measured.name);
            const std::string request = requestDocument(command, measured.args);
            std::vector<double> millis;
            for (int i = 0; i < count; ++i) {
                std::this_thread::sleep_for(kSettle + std::chrono::microseconds(jitter(random)));
                const auto sent = Clock::now();
                link.sendCommand(command.code, request);
                link.awaitCode(answerCode(command));
                millis.push_back(Micros(Clock::now() - sent).count() / 1000);
            }
            std::printf("| %s | %.1f ms | %.1f ms | %.1f ms | %.1f ms |\n", measured.title,
                        percentile(millis, 0.5), percentile(millis, 0.9), percentile(millis, 0.99),
                        *std::max_element(millis.begin(), millis.end()));
        }
    } catch (const Failure& failure) {
        std::fprintf(stderr, "robocomm_round_trip: %s\n", failure.what());
        return 1;
    }
    return 0;
}
