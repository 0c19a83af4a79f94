// The client as an operator meets it: its list, help and completion, the
// progress bar on a terminal, Ctrl-C, and a robot that restarts under watch.
#include <cstdlib>

#include "e2e/processes.h"

namespace e2e {
namespace {

size_t count(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

TEST(Operator, ListShowsTypesUnitsAndTheOddCommands) {
    const ClientRun list = runClient({"list"});
    ASSERT_EQ(list.status, 0) << list.err;
    for (const char* line : {
             "   57  set max-driving-speed <mS>                mS: number in m/s\n",
             "   74  set factory-mode <start>                  start: 0/1/true/false\n",
             "   71  send 71 FILE                              map edit (ByPassOneData): a JSON document from a file",
             "  101  get 101                                   the same request as code 2 (get lidar-sensor-status)",
             "   73  set pgm-map-data <data> <name> <sha256>   data: base64 text, name: text, sha256: SHA-256 of data",
         })
        EXPECT_NE(list.out.find(line), std::string::npos) << line << "\n" << list.out;
    const ClientRun json = runClient({"--json", "list"});
    EXPECT_EQ(count(json.out, "\n"), count(list.out, "\n"));
    EXPECT_EQ(parseJson(json.out)["usage"], "get position");
}

TEST(Operator, HelpVersionAndCompletion) {
    const ClientRun help = runClient({"-h"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("The robot serves one client at a time"), std::string::npos) << help.out;
    EXPECT_EQ(runClient({"--version"}).out, "robocomm-client, robocomm library 0.32.2.1\n");
    // Completes the command names from the client's own list. The name
    // resolves to this build's client, through the emulator in a cross build.
    const std::string script = "robocomm-client() { " ROBOCOMM_TOOL_EMULATOR " " ROBOCOMM_CLIENT_PATH
                               " \"$@\"; }; source " ROBOCOMM_COMPLETION_PATH
                               "; COMP_WORDS=(robocomm-client --json set target); COMP_CWORD=3; _robocomm_client; "
                               "echo ${COMPREPLY[@]}";
    const robotest::TempDir out;
    ASSERT_EQ(std::system(("bash -c '" + script + "' >" + out.path() + "/words").c_str()), 0);
    EXPECT_EQ(fileText(out.path() + "/words"), "target-position\n");
}

// The bar fills with the bytes sent, however seldom the robot reports
// (only at multiples of 5 %), and ends with the robot's verdict.
TEST_F(RobotTest, FirmwareProgressFollowsTheBytesSent) {
    const robotest::TempDir folder;
    const std::string image = folder.path() + "/firmware.bin";
    std::system(("head -c 1048576 /dev/zero >" + image).c_str());
    const ClientRun run = runClientOnTerminal({"ota", image});
    ASSERT_EQ(run.status, 0) << run.out;
    std::vector<int> shown;  // each redraw: "firmware [###...] 42% robot: 40%"
    for (size_t at = run.out.find("] "); at != std::string::npos; at = run.out.find("] ", at + 1))
        shown.push_back(std::atoi(run.out.c_str() + at + 2));
    ASSERT_GE(shown.size(), 20u) << run.out;
    for (size_t i = 1; i < shown.size(); ++i) EXPECT_LE(shown[i] - shown[i - 1], 5) << run.out;
    EXPECT_LE(shown.front(), 5);
    EXPECT_NE(run.out.find("100% robot: verified"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("accepted by the robot"), std::string::npos) << run.out;
}

// Ctrl-C stops a transfer (status 130, its bar's line ended) and is the
// normal end of a watch (status 0).
TEST_F(RobotTest, CtrlCInterruptsATransferAndEndsAWatch) {
    const robotest::TempDir folder;
    const std::string image = folder.path() + "/firmware.bin";
    std::system(("head -c 4194304 /dev/zero >" + image).c_str());
    ClientProcess ota({"ota", image});
    ASSERT_TRUE(host.awaitLibraryLog("receivedBytes")) << "the transfer never started";
    ota.interrupt();
    const ClientRun stopped = ota.finish();
    EXPECT_EQ(stopped.status, 130);
    EXPECT_EQ(stopped.err, "robocomm-client: interrupted\n");

    ClientProcess watch({"watch", "20"});
    ASSERT_TRUE(host.awaitLibraryLog("Client connected", 2)) << "the watch never connected";
    watch.interrupt();
    const ClientRun ended = watch.finish();
    EXPECT_EQ(ended.status, 0) << ended.err;
}

// A watch outlives a robot restart, saying so; --no-reconnect ends with it.
TEST(Operator, WatchReconnectsWhenTheRobotRestarts) {
    auto first = std::make_unique<DemoHost>();
    ASSERT_TRUE(first->awaitOutput("demo host: serving")) << first->output();
    const std::string connected = "connected to 127.0.0.1 port 10001";
    ClientProcess once({"--no-reconnect", "watch", "20"});
    ClientProcess watch({"watch", "20"});
    ASSERT_TRUE(once.awaitNote(connected) && watch.awaitNote(connected));
    first->stop();
    const ClientRun ended = once.finish();
    EXPECT_EQ(ended.status, 3) << ended.err;
    EXPECT_EQ(ended.err.find("reconnecting"), std::string::npos) << ended.err;

    DemoHost second;
    ASSERT_TRUE(second.awaitOutput("demo host: serving")) << second.output();
    EXPECT_TRUE(watch.awaitNote(connected, 2));
    watch.interrupt();
    const ClientRun watched = watch.finish();
    EXPECT_EQ(watched.status, 0) << watched.err;
    EXPECT_EQ(count(watched.err, "reconnecting (--no-reconnect exits instead)"), 1u) << watched.err;
}

}  // namespace
}  // namespace e2e
