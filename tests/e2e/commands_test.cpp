// Every command of the vocabulary and both streams, from the client's
// command line through the library to the demo host and back.
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>

#include "e2e/processes.h"
#include "intake/command_table.h"
#include "link/frame.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"
#include "support/link_client.h"

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
// values, as one --json line of the documented shape. Set commands get the
// library's own result document; firmware data whose image was never
// streamed is refused (exit status 1); commands the robot does not answer
// are delivered, proven by the heartbeat answered after them.
TEST_F(RobotTest, AnswersEveryCommandOfTheTable) {
    for (const CommandSpec& command : robocomm::commandTable()) {
        // The log bundle (26) and the map edit (71) have verbs of their own;
        // 101 is reached by its code only.
        if (command.code == 26 || command.code == 71) continue;
        SCOPED_TRACE(command.name);
        const std::string name = command.code == 101 ? "101" : command.name;
        std::vector<std::string> args{"--json", command.kind == CommandKind::Get ? "get" : "set", name};
        for (const robocomm::ParamSpec& param : command.params) args.push_back(sampleValue(param));
        const ClientRun run = runClient(args);
        const bool ok = command.code != robocomm::kOtaDataCode;
        EXPECT_EQ(run.status, ok ? 0 : 1) << run.err;
        const Json::Value line = parseJson(run.out);
        EXPECT_EQ(line["code"], command.code) << run.out;
        if (command.code == 18 || command.code == 100)
            EXPECT_EQ(line["outcome"], "delivered") << run.out;
        else if (command.kind == CommandKind::Get)
            EXPECT_EQ(line["answer"]["Response"]["Get"].getMemberNames(), std::vector{documentName(command)})
                << run.out;
        else
            EXPECT_EQ(line["answer"], parseJson(createJsonResult(command.code, ok))) << run.out;
    }
}

// Readable by default: no envelope, numbers in their shortest form (the
// demo robot stands at 1.6, which 17 digits would print 1.6000000000000001).
TEST_F(RobotTest, PrintsReadableAnswersAndTakesCodesForNames) {
    const struct {
        std::vector<std::string> args;
        const char* out;
    } cases[] = {
        {{"get", "position"}, "position: theta=0 x=1.6 y=1.6\n"},
        {{"get", "1"}, "position: theta=0 x=1.6 y=1.6\n"},
        {{"--host", "localhost", "get", "target-position"}, "TargetPosition: theta=0 x=1.6 y=1.6\n"},
        {{"set", "61", "1"}, "Driving: done\n"},
        {{"set", "max-driving-speed", "9"}, "MaxDrivingSpeed: refused by the robot\n"},
        {{"set", "error"}, "error: delivered (the robot read it; it does not answer this command)\n"},
    };
    for (const auto& c : cases) {
        const ClientRun run = runClient(c.args);
        EXPECT_EQ(run.out, c.out) << run.err;
    }
}

TEST_F(RobotTest, TheClockCommandOnlyReachesTheDemoHostsFakeClock) {
    ASSERT_EQ(runClient({"set", "time-data", "2024", "5", "1", "12", "0", "0"}).status, 0);
    EXPECT_TRUE(host.awaitOutput("clock: the robot's clock would be set to 2024-05-01 12:00:00 UTC")) << host.output();
}

// The README's example documents, as shipped.
TEST_F(RobotTest, SendsTheExampleDocuments) {
    const ClientRun edit = runClient({"--json", "send", "71", ROBOCOMM_EXAMPLES_DIR "/map-edit.json"});
    EXPECT_EQ(edit.out, "{\"name\":\"by-pass-one-data\",\"code\":71,"
                        "\"answer\":{\"Response\":{\"Set\":{\"ByPass\":{\"result\":true}}}}}\n") << edit.err;
    EXPECT_TRUE(host.awaitOutput("map edit office-edit-1: 1 rooms")) << host.output();
    const ClientRun map = runClient({"send", "73", ROBOCOMM_EXAMPLES_DIR "/pgm-map.json"});
    EXPECT_EQ(map.out, "MapData: done\n") << map.err;
    EXPECT_TRUE(host.awaitOutput("map office received")) << host.output();
}

// With "-", the data go to stdout and the report beside them to stderr.
TEST_F(RobotTest, WritesDataToStandardOutput) {
    const ClientRun map = runClient({"--save", "-", "get", "map-data"});
    ASSERT_EQ(map.status, 0) << map.err;
    EXPECT_EQ(map.out.rfind("P5\n64 64\n255\n", 0), 0u);
    EXPECT_NE(map.err.find("bytes saved to stdout"), std::string::npos) << map.err;
    const ClientRun bundle = runClient({"log", "-"});
    ASSERT_EQ(bundle.status, 0) << bundle.err;
    EXPECT_EQ(bundle.out.substr(0, 2), "\x1f\x8b");  // gzip
    EXPECT_NE(bundle.err.find("written to stdout (digest verified)"), std::string::npos) << bundle.err;
    // An answer without data is still shown, with the reason for status 2.
    const ClientRun none = runClient({"--save", "-", "get", "position"});
    EXPECT_EQ(none.status, 2);
    EXPECT_NE(none.err.find("position: theta=0 x=1.6 y=1.6\n"), std::string::npos) << none.err;
    EXPECT_NE(none.err.find("carries no data to save"), std::string::npos) << none.err;
}

// The demo host repeats unacknowledged errors to a client that is present;
// watch keeps itself present with heartbeats and, asked to, acknowledges.
TEST_F(RobotTest, WatchPrintsErrorPushesAndAcknowledgesThem) {
    ASSERT_EQ(runClient({"set", "emergency-stop"}).status, 0);
    const ClientRun watch = runClient({"--json", "--acknowledge", "watch", "1.5"});
    ASSERT_EQ(watch.status, 0) << watch.err;
    const Json::Value push = parseJson(watch.out);
    EXPECT_EQ(push["code"], 100) << watch.out;
    EXPECT_EQ(push["answer"]["Emergency"]["Send"]["ErrorList"][0]["errorCode"], "EMERGENCY-STOP");
    EXPECT_EQ(push["time"].asString().size(), std::string("2024-05-01T12:00:00.000Z").size()) << watch.out;
    EXPECT_NE(watch.err.find("{\"note\":\"acknowledged the error push\"}"), std::string::npos) << watch.err;
    EXPECT_TRUE(host.awaitOutput("the client acknowledged the errors")) << host.output();
}

// While one client holds the robot, the next waits in the listen backlog
// and hears nothing; the client says what that likely means.
TEST_F(RobotTest, NamesTheOtherClientWhenNothingComesBack) {
    API_GenerateKey();
    robotest::LinkClient holder;
    holder.sendCommand(64, R"({"Request":{"Set":{"Heartbeat":{}}}})");
    ASSERT_TRUE(holder.readMessage(64).has_value());
    for (const auto& command : {std::vector<std::string>{"get", "position"}, {"set", "error"}}) {
        std::vector<std::string> args{"--timeout", "0.5"};
        args.insert(args.end(), command.begin(), command.end());
        const ClientRun run = runClient(args);
        EXPECT_EQ(run.status, 4);
        EXPECT_NE(run.err.find("nothing at all came back: the robot may be serving another client"),
                  std::string::npos) << run.err;
    }
}

// The demo host's own executable serves as the firmware image.
TEST_F(RobotTest, StreamsAFirmwareImageThatTheRobotVerifies) {
    const std::string image = fileText(ROBOCOMM_DEMO_HOST_PATH);
    const ClientRun run = runClient({"--json", "ota", ROBOCOMM_DEMO_HOST_PATH});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(parseJson(run.out)["sha256"], calculateSHA256(image)) << run.out;
    EXPECT_EQ(parseJson(run.out)["outcome"], "accepted");
    EXPECT_TRUE(host.awaitOutput("firmware image of " + std::to_string(image.size()) + " bytes verified"))
        << host.output();
}

// Fetches the log bundle with the client, checks the digest it reports and
// unpacks the archive into `folder` (its logs/ folder).
void fetchLogBundle(const robotest::TempDir& folder) {
    const std::string archive = folder.path() + "/logs.tar.gz";
    const ClientRun run = runClient({"--json", "log", archive});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(parseJson(run.out)["sha256"], calculateSHA256(fileText(archive))) << run.out;
    ASSERT_EQ(std::system(("tar -xzf '" + archive + "' -C '" + folder.path() + "'").c_str()), 0);
}

TEST_F(RobotTest, FetchesTheLogBundle) {
    robotest::TempDir folder;
    ASSERT_NO_FATAL_FAILURE(fetchLogBundle(folder));
    EXPECT_EQ(fileText(folder.path() + "/logs/robot.log").rfind("demo robot log", 0), 0u);
}

// The bundle's packets after the first carry no header, so a push sent
// between them would corrupt it. With an error open and the client present
// the robot pushes every second, while a bundle of incompressible bytes
// streams for about 1.5 s.
TEST_F(RobotTest, KeepsTheLogBundleWholeWhileItPushesErrors) {
    std::string noise(20000, '\0');
    std::mt19937 random(18);
    for (char& byte : noise) byte = static_cast<char>(random());
    std::ofstream(host.runFolder() + "/logs/noise.bin", std::ios::binary) << noise;
    ASSERT_EQ(runClient({"set", "emergency-stop"}).status, 0);
    robotest::TempDir folder;
    ASSERT_NO_FATAL_FAILURE(fetchLogBundle(folder));
    EXPECT_EQ(fileText(folder.path() + "/logs/noise.bin"), noise);
}

}  // namespace
}  // namespace e2e
