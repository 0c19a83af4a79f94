// Every command of the vocabulary and both streams, from the client's
// command line through the library to the demo host and back.
#include <cstdlib>
#include <fstream>
#include <map>

#include "e2e/processes.h"
#include "intake/command_table.h"
#include "link/frame.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"

namespace e2e {
namespace {

using robocomm::CommandKind;
using robocomm::CommandSpec;
using robocomm::ParamKind;

const std::string kMap = base64Encode(reinterpret_cast<const unsigned char*>("a small map"), 11);

// A value the demo host accepts for the parameter.
std::string sampleValue(const robocomm::ParamSpec& param) {
    static const std::map<std::string, std::string> byKey = {
        {"data", kMap}, {"sha256", calculateSHA256(kMap)}, {"checksum", calculateSHA256(kMap)},
        {"name", "office"}, {"year", "2024"}};
    const auto known = byKey.find(param.key);
    if (known != byKey.end()) return known->second;
    return param.kind == ParamKind::Double ? "0.5" : param.kind == ParamKind::Bool ? "true" : "1";
}

// The V2 answers reuse the first generation's documents.
std::string documentName(const CommandSpec& command) {
    if (command.code == 1) return "position";
    if (command.code == 30) return "Docking";
    const std::string name = command.name;
    return name.size() > 2 && name.substr(name.size() - 2) == "V2" ? name.substr(0, name.size() - 2) : name;
}

// Each command by its table name (the client takes any case) with sample
// values. Set commands get the library's own result document; firmware data
// whose image was never streamed is refused (exit status 1).
TEST_F(RobotTest, AnswersEveryCommandOfTheTable) {
    for (const CommandSpec& command : robocomm::commandTable()) {
        // 18 and 100 (an error push's acknowledgement, see Watch) go
        // unanswered; the log bundle (26) is a stream, fetched with "log".
        if (command.code == 18 || command.code == 26 || command.code == 100) continue;
        SCOPED_TRACE(command.name);
        std::vector<std::string> args{"--json", command.kind == CommandKind::Get ? "get" : "set", command.name};
        for (const robocomm::ParamSpec& param : command.params) args.push_back(sampleValue(param));
        const ClientRun run = runClient(args);
        const bool ok = command.code != robocomm::kOtaDataCode;
        EXPECT_EQ(run.status, ok ? 0 : 1) << run.err;
        const Json::Value answer = parseJson(run.out);
        if (command.kind == CommandKind::Get)
            EXPECT_EQ(answer["Response"]["Get"].getMemberNames(), std::vector{documentName(command)}) << run.out;
        else
            EXPECT_EQ(answer, parseJson(createJsonResult(command.code, ok))) << run.out;
    }
}

TEST_F(RobotTest, TheClockCommandOnlyReachesTheDemoHostsFakeClock) {
    ASSERT_EQ(runClient({"set", "time-data", "2024", "5", "1", "12", "0", "0"}).status, 0);
    EXPECT_TRUE(host.awaitOutput("clock: the robot's clock would be set to 2024-05-01 12:00:00 UTC")) << host.output();
}

TEST_F(RobotTest, SendsADocumentFromAFile) {
    robotest::TempDir folder;
    const std::string edit = folder.path() + "/edit.json";
    std::ofstream(edit) << R"({"Request":{"Set":{"ByPass":{"info":{"uid":"edit-7","version":"1","modified":"now"},)"
                        << R"("room_list":[{"id":"r1","name":"lab","robot_path":[{"x":1,"y":2}]}]}}}})";
    const ClientRun run = runClient({"--json", "send", "71", edit});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"Response\":{\"Set\":{\"ByPass\":{\"result\":true}}}}\n");
    EXPECT_TRUE(host.awaitOutput("map edit edit-7: 1 rooms")) << host.output();
}

// The demo host repeats unacknowledged errors to a client that is present;
// watch keeps itself present with heartbeats.
TEST_F(RobotTest, WatchPrintsErrorPushesThatTheClientAcknowledges) {
    ASSERT_EQ(runClient({"set", "emergency-stop"}).status, 0);
    const ClientRun watch = runClient({"--json", "watch", "2"});
    ASSERT_EQ(watch.status, 0) << watch.err;
    const Json::Value push = parseJson(watch.out);
    EXPECT_EQ(push["code"], 100) << watch.out;
    EXPECT_EQ(push["document"]["Emergency"]["Send"]["ErrorList"][0]["errorCode"], "EMERGENCY-STOP");
    ASSERT_EQ(runClient({"set", "error"}).status, 0);
    EXPECT_TRUE(host.awaitOutput("the client acknowledged the errors")) << host.output();
}

// The demo host's own executable serves as the firmware image.
TEST_F(RobotTest, StreamsAFirmwareImageThatTheRobotVerifies) {
    const std::string image = fileText(ROBOCOMM_DEMO_HOST_PATH);
    const ClientRun run = runClient({"--json", "ota", ROBOCOMM_DEMO_HOST_PATH});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(parseJson(run.out)["sha256"], calculateSHA256(image)) << run.out;
    EXPECT_EQ(parseJson(run.out)["accepted"], true);
    EXPECT_TRUE(host.awaitOutput("firmware image of " + std::to_string(image.size()) + " bytes verified"))
        << host.output();
}

TEST_F(RobotTest, FetchesTheLogBundle) {
    robotest::TempDir folder;
    const std::string archive = folder.path() + "/logs.tar.gz";
    const ClientRun run = runClient({"--json", "log", archive});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(parseJson(run.out)["sha256"], calculateSHA256(fileText(archive))) << run.out;
    ASSERT_EQ(std::system(("tar -xzf '" + archive + "' -C '" + folder.path() + "'").c_str()), 0);
    EXPECT_EQ(fileText(folder.path() + "/logs/robot.log").rfind("demo robot log", 0), 0u);
}

}  // namespace
}  // namespace e2e
