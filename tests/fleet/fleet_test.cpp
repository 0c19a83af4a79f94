// The fleet bridge's state machines without sockets: orders and instant
// actions against a fake robot that records each command and answers when
// the test says so, the robot codes table, and the documents' shape.
#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "common/failure.h"
#include "common/json_text.h"
#include "common/robot_codes.h"
#include "fleet/documents.h"
#include "fleet/instant_actions.h"
#include "fleet/options.h"
#include "fleet/order_executor.h"
#include "common/vda_topics.h"
#include "support/temp_dir.h"

#include <fstream>

namespace robocomm::fleet {
namespace {

struct Call {
    std::string command;
    std::vector<std::string> arguments;
    RobotPort::Done done;
};

class FakeRobot : public RobotPort {
public:
    void carryOut(const tools::ActionMapping& mapping, const std::vector<std::string>& arguments, Done done) override {
        calls.push_back({mapping.command, arguments, std::move(done)});
    }
    // Answers the oldest command; "" for success.
    Call answer(const std::string& failure = "") {
        EXPECT_FALSE(calls.empty());
        Call call = calls.front();
        calls.pop_front();
        call.done(failure);
        return call;
    }
    std::deque<Call> calls;
};

Json::Value parsed(const std::string& text) {
    Json::Value value;
    std::string errors;
    EXPECT_TRUE(tools::parseJson(text, value, errors)) << errors << text;
    return value;
}

// An order along the x axis: node i at (1 + 0.5 i, 1.6), node actions as given.
Json::Value order(const std::string& id, int update, int firstSequence, int count, int released,
                  const std::string& nodeAction = "") {
    Json::Value o = parsed(R"({"headerId":1,"timestamp":"2026-01-01T00:00:00.000Z","version":"2.0.0",
                                "manufacturer":"robocomm","serialNumber":"R1","nodes":[],"edges":[]})");
    o["orderId"] = id;
    o["orderUpdateId"] = update;
    for (int i = 0; i < count; ++i) {
        Json::Value node;
        node["nodeId"] = "n" + std::to_string(firstSequence / 2 + i);
        node["sequenceId"] = firstSequence + 2 * i;
        node["released"] = i < released;
        node["nodePosition"]["x"] = 1 + 0.5 * (firstSequence / 2 + i);
        node["nodePosition"]["y"] = 1.6;
        node["nodePosition"]["mapId"] = "map";
        node["actions"] = Json::Value(Json::arrayValue);
        if (!nodeAction.empty() && i == count - 1) {
            Json::Value action;
            action["actionId"] = "act-" + node["nodeId"].asString();
            action["actionType"] = nodeAction;
            action["blockingType"] = "HARD";
            node["actions"].append(action);
        }
        o["nodes"].append(node);
        if (i == 0) continue;
        Json::Value edge;
        edge["edgeId"] = "e" + std::to_string(firstSequence / 2 + i);
        edge["sequenceId"] = firstSequence + 2 * i - 1;
        edge["released"] = i < released;
        edge["startNodeId"] = o["nodes"][i - 1]["nodeId"];
        edge["endNodeId"] = node["nodeId"];
        edge["actions"] = Json::Value(Json::arrayValue);
        o["edges"].append(edge);
    }
    return o;
}

Pose at(int node) { return {1 + 0.5 * node, 1.6, 0}; }

class Machines : public ::testing::Test {
protected:
    Json::Value state() const {
        Json::Value s;
        executor.describe(s);
        s["actionStates"] = actions.toJson();
        Json::Value errorList(Json::arrayValue);
        errors.appendTo(errorList);
        s["errors"] = errorList;
        return s;
    }
    std::string errorTypes() const {
        std::string types;
        const Json::Value now = state();
        for (const Json::Value& error : now["errors"]) types += error["errorType"].asString() + " ";
        return types;
    }
    std::string status(const std::string& actionId) const {
        const ActionState* found = actions.find(actionId);
        return found ? found->actionStatus : "none";
    }
    std::string nodeIds() const {
        std::string ids;
        const Json::Value now = state();
        for (const Json::Value& node : now["nodeStates"]) ids += node["nodeId"].asString() + " ";
        return ids;
    }

    tools::RobotCodes codes = tools::RobotCodes::builtIn();
    FakeRobot robot;
    ActionStates actions;
    BridgeErrors errors;
    OrderExecutor executor{robot, actions, errors, codes, OrderSettings{0.1}};
    int stateRequests = 0;
    int factsheetRequests = 0;
    InstantActions instant{robot, actions, errors, executor, codes,
                           {[this] { ++stateRequests; }, [this] { ++factsheetRequests; }}};
};

TEST_F(Machines, DrivesAnOrderNodeByNodeAndEndsWithNoNodesLeft) {
    const Pose start = at(0);
    executor.receive(order("o1", 0, 0, 3, 3, "startCharging"), &start);
    EXPECT_EQ(errorTypes(), "");
    executor.advance(start, false);
    // The first node is where the robot stands: traversed at once.
    EXPECT_EQ(state()["lastNodeId"], "n0");
    EXPECT_EQ(nodeIds(), "n1 n2 ");
    ASSERT_EQ(robot.calls.size(), 1u);
    EXPECT_EQ(robot.calls[0].command, "target-position");
    EXPECT_EQ(robot.calls[0].arguments, (std::vector<std::string>{"1.5", "1.6", "0"}));
    robot.answer();
    // Not there yet: nothing new is sent, the node stays.
    executor.advance({1.3, 1.6, 0}, false);
    EXPECT_TRUE(robot.calls.empty());
    EXPECT_EQ(nodeIds(), "n1 n2 ");
    executor.advance(at(1), false);
    EXPECT_EQ(state()["lastNodeId"], "n1");
    EXPECT_EQ(state()["edgeStates"].size(), 1u);
    ASSERT_EQ(robot.calls.size(), 1u);
    EXPECT_EQ(robot.calls[0].arguments[0], "2");
    robot.answer();
    executor.advance(at(2), false);
    // The last node's action runs on the robot, then the order is done.
    EXPECT_EQ(nodeIds(), "");
    EXPECT_EQ(status("act-n2"), "RUNNING");
    EXPECT_TRUE(executor.active());
    EXPECT_EQ(robot.answer().command, "start-charging");
    EXPECT_EQ(status("act-n2"), "FINISHED");
    EXPECT_FALSE(executor.active());
    EXPECT_EQ(state()["lastNodeSequenceId"], 4);
}

TEST_F(Machines, AMoveTheRobotDidNotTakeIsSentAgainWithTheNextPose) {
    const Pose start = at(0);
    executor.receive(order("o1", 0, 0, 2, 2), &start);
    executor.advance(start, false);
    robot.answer("the robot is unreachable");
    EXPECT_EQ(errorTypes(), "noRouteError ");
    executor.advance(start, false);
    robot.answer("the robot is unreachable");
    EXPECT_EQ(errorTypes(), "noRouteError ") << "said once";
    executor.advance(start, false);
    robot.answer();
    EXPECT_EQ(errorTypes(), "");
    executor.advance(at(1), false);
    EXPECT_EQ(nodeIds(), "");
}

TEST_F(Machines, AnUpdateExtendsTheBaseFromItsLastNode) {
    const Pose start = at(0);
    executor.receive(order("o1", 0, 0, 3, 2), &start);  // n0 n1 released, n2 horizon
    executor.advance(start, false);
    robot.answer();
    executor.advance(at(1), false);
    EXPECT_EQ(nodeIds(), "n2 ");
    EXPECT_TRUE(robot.calls.empty()) << "the horizon is not driven to";
    // An update that does not start at the base's end is refused.
    executor.receive(order("o1", 1, 0, 3, 3), &start);
    EXPECT_EQ(errorTypes(), "orderUpdateError ");
    executor.receive(order("o1", 1, 2, 3, 3), &start);  // n1 (traversed) n2 n3
    EXPECT_EQ(errorTypes(), "");
    EXPECT_EQ(nodeIds(), "n2 n3 ");
    executor.advance(at(1), false);
    ASSERT_EQ(robot.calls.size(), 1u);
    EXPECT_EQ(robot.calls[0].arguments[0], "2");
    // An older update is refused and the order goes on; the same one again is ignored.
    executor.receive(order("o1", 0, 0, 2, 2), &start);
    EXPECT_EQ(errorTypes(), "orderUpdateError ");
    EXPECT_EQ(state()["orderUpdateId"], 1);
    executor.receive(order("o1", 1, 2, 3, 3), &start);
    EXPECT_EQ(nodeIds(), "n2 n3 ");
}

TEST_F(Machines, MalformedOrdersAreRejectedAndNothingReachesTheRobot) {
    const Pose start = at(0);
    std::vector<Json::Value> bad;
    bad.push_back(parsed("[1]"));
    Json::Value wrongVersion = order("o1", 0, 0, 2, 2);
    wrongVersion["version"] = "1.1.0";
    bad.push_back(wrongVersion);
    Json::Value gap = order("o1", 0, 0, 3, 3);
    gap["nodes"][2]["sequenceId"] = 6;
    bad.push_back(gap);
    Json::Value strayEdge = order("o1", 0, 0, 2, 2);
    strayEdge["edges"][0]["endNodeId"] = "elsewhere";
    bad.push_back(strayEdge);
    Json::Value noPosition = order("o1", 0, 0, 2, 2);
    noPosition["nodes"][1]["nodePosition"].removeMember("mapId");
    bad.push_back(noPosition);
    for (const Json::Value& message : bad) {
        executor.receive(message, &start);
        executor.advance(start, false);
        EXPECT_TRUE(robot.calls.empty()) << tools::compactJson(message);
        EXPECT_EQ(state()["orderId"], "");
        EXPECT_EQ(errorTypes().substr(0, 16), "validationError ") << tools::compactJson(message);
    }
    // An action the robot cannot carry out on a node: orderError.
    executor.receive(order("o1", 0, 0, 2, 2, "pick"), &start);
    EXPECT_NE(errorTypes().find("orderError"), std::string::npos);
    // A robot far from the first node: noRouteError.
    const Pose far{0.3, 0.3, 0};
    executor.receive(order("o1", 0, 0, 2, 2), &far);
    EXPECT_NE(errorTypes().find("noRouteError"), std::string::npos);
    EXPECT_TRUE(robot.calls.empty());
    // A good order clears the warnings.
    executor.receive(order("o1", 0, 0, 2, 2), &start);
    EXPECT_EQ(errorTypes(), "");
}

Json::Value instantActions(const std::string& type, const std::string& id, const std::string& parameters = "[]") {
    return parsed(R"({"headerId":3,"timestamp":"2026-01-01T00:00:00.000Z","version":"2.1.0","manufacturer":"robocomm",
                      "serialNumber":"R1","actions":[{"actionId":")" +
                  id + R"(","actionType":")" + type + R"(","blockingType":"HARD","actionParameters":)" + parameters +
                  "}]}");
}

TEST_F(Machines, CancelOrderStopsTheRobotAndFailsWhatWasLeft) {
    const Pose start = at(0);
    instant.receive(instantActions("cancelOrder", "c0"), &start);
    EXPECT_EQ(status("c0"), "FAILED");
    EXPECT_EQ(errorTypes(), "noOrderToCancel ");
    EXPECT_TRUE(robot.calls.empty());

    executor.receive(order("o1", 0, 0, 3, 3, "startCharging"), &start);
    executor.advance(start, false);
    ASSERT_EQ(robot.calls.size(), 1u);
    const Pose between{1.25, 1.6, 0.125};
    instant.receive(instantActions("cancelOrder", "c1"), &between);
    EXPECT_EQ(status("c1"), "RUNNING");
    EXPECT_EQ(status("act-n2"), "FAILED");
    EXPECT_EQ(nodeIds(), "");
    // The answer to the earlier move counts no more; the stop is a move to where the robot is.
    robot.answer();
    const Call stop = robot.answer();
    EXPECT_EQ(stop.arguments, (std::vector<std::string>{"1.25", "1.6", "0.125"}));
    EXPECT_EQ(status("c1"), "FINISHED");
    EXPECT_EQ(state()["orderId"], "o1");
    executor.advance(at(2), false);
    EXPECT_TRUE(robot.calls.empty());
}

TEST_F(Machines, InstantActionsReachTheRobotAndReportTheirStates) {
    const Pose start = at(0);
    instant.receive(instantActions("startPause", "p1"), &start);
    EXPECT_EQ(status("p1"), "RUNNING");
    EXPECT_FALSE(instant.paused());
    EXPECT_EQ(robot.answer().arguments, std::vector<std::string>{"0"});
    EXPECT_TRUE(instant.paused());
    // A paused robot is not sent on.
    executor.receive(order("o1", 0, 0, 2, 2), &start);
    executor.advance(start, true);
    EXPECT_TRUE(robot.calls.empty());
    instant.receive(instantActions("stopPause", "p2"), &start);
    EXPECT_EQ(robot.answer().arguments, std::vector<std::string>{"1"});
    EXPECT_FALSE(instant.paused());

    instant.receive(instantActions("initPosition", "i1", R"([{"key":"x","value":1.5},{"key":"y","value":2},
                                                              {"key":"theta","value":0.5},{"key":"mapId","value":"map"}])"),
                    &start);
    EXPECT_EQ(robot.calls.back().command, "station-repositioning");
    EXPECT_EQ(robot.answer().arguments, (std::vector<std::string>{"1.5", "2", "0.5"}));
    instant.receive(instantActions("initPosition", "i2"), &start);
    EXPECT_EQ(status("i2"), "FAILED");
    EXPECT_EQ(actions.find("i2")->resultDescription, "parameter x is missing");

    for (const char* type : {"startCharging", "stopCharging", "emergencyStop", "recovery"}) {
        instant.receive(instantActions(type, type), &start);
        robot.answer(type == std::string("recovery") ? "the robot refused recovery" : "");
    }
    EXPECT_EQ(status("startCharging"), "FINISHED");
    EXPECT_EQ(status("emergencyStop"), "FINISHED");
    EXPECT_EQ(status("recovery"), "FAILED");

    instant.receive(instantActions("stateRequest", "s1"), &start);
    instant.receive(instantActions("factsheetRequest", "f1"), &start);
    EXPECT_EQ(stateRequests, 1);
    EXPECT_EQ(factsheetRequests, 1);
    EXPECT_EQ(status("s1"), "FINISHED");
    instant.receive(instantActions("liftFork", "l1"), &start);
    EXPECT_EQ(status("l1"), "FAILED");
    EXPECT_TRUE(robot.calls.empty());

    Json::Value malformed = instantActions("startPause", "x");
    malformed["actions"][0].removeMember("blockingType");
    instant.receive(malformed, &start);
    EXPECT_EQ(status("x"), "none");
    EXPECT_NE(errorTypes().find("validationError"), std::string::npos);
}

TEST(RobotCodes, OverridesReplaceEntriesAndBadOnesAreNamed) {
    tools::RobotCodes codes = tools::RobotCodes::builtIn();
    EXPECT_EQ(codes.status(2)->meaning, "emergencyStop");
    EXPECT_EQ(codes.error("EMERGENCY-STOP").severity, "fatal");
    EXPECT_EQ(codes.error("SOMETHING-NEW").severity, "warning");
    EXPECT_EQ(codes.docking(2)->label, "docked");
    codes.apply(parsed(R"({"status": {"7": {"label": "lifting", "severity": "info"}},
                           "actions": {"startPause": {"command": "emergency-stop", "scopes": ["INSTANT"]}}})"));
    EXPECT_EQ(codes.status(7)->label, "lifting");
    EXPECT_EQ(codes.action("startPause")->command, "emergency-stop");
    EXPECT_EQ(codes.action("stopPause")->command, "driving");
    try {
        codes.apply(parsed(R"({"actions": {"x": {"command": "target-position", "parameters": ["1"]}}})"));
        ADD_FAILURE() << "a wrong parameter count was taken";
    } catch (const tools::Failure& failure) {
        EXPECT_EQ(std::string(failure.what()), "robot codes: actions.x: 3 parameters wanted: set target-position <x> <y> <theta>");
    }
    EXPECT_THROW(codes.apply(parsed(R"({"errors": {"E": {"label": "x", "severity": "grave"}}})")), tools::Failure);
}

TEST(Documents, HeadersCountPerTopicAndStateReportsTheRobot) {
    tools::Headers headers({"uagv", "robocomm", "R1"});
    const auto at = WallClock::time_point(std::chrono::milliseconds(1764043262345));
    EXPECT_EQ(tools::isoTimestamp(at), "2025-11-25T04:01:02.345Z");
    EXPECT_EQ(headers.stamp("a", Json::Value(), at)["headerId"].asInt(), 0);
    EXPECT_EQ(headers.stamp("a", Json::Value(), at)["headerId"].asInt(), 1);
    EXPECT_EQ(headers.stamp("b", Json::Value(), at)["headerId"].asInt(), 0);
    EXPECT_EQ(tools::topicOf(headers.identity(), "state"), "uagv/v2/robocomm/R1/state");
    EXPECT_TRUE(tools::acceptedVersion("2.0.0"));
    EXPECT_FALSE(tools::acceptedVersion("1.1"));

    tools::RobotCodes codes = tools::RobotCodes::builtIn();
    FakeRobot robot;
    ActionStates actions;
    BridgeErrors errors;
    OrderExecutor executor{robot, actions, errors, codes, {}};
    RobotView view;
    EXPECT_TRUE(view.read("all-moving-info-v2", parsed(R"({"movingState":1,"validPosition":true,
        "Position":{"x":1,"y":2,"theta":0.5},"validTargetPosition":true,"TargetPosition":{"x":0,"y":0,"theta":0}})"), at));
    view.read("robot-status", parsed(R"({"status":2})"), at);
    view.read("battery-status-v2", parsed(R"({"batteryPercent":42,"batteryVoltage":15.1})"), at);
    view.read("error-list", parsed(R"([{"resolved":1,"rank":2,"errorCode":"OLD"},{"resolved":0,"rank":1,"errorCode":"EMERGENCY-STOP"}])"), at);
    const Json::Value state = stateBody({view, executor, actions, errors, codes, "site", true});
    EXPECT_EQ(state["safetyState"]["eStop"], "REMOTE");
    EXPECT_EQ(state["driving"], false) << "a paused robot does not drive";
    EXPECT_EQ(state["agvPosition"]["mapId"], "site");
    EXPECT_EQ(state["batteryState"]["batteryCharge"], 42.0);
    ASSERT_EQ(state["errors"].size(), 1u);
    EXPECT_EQ(state["errors"][0]["errorType"], "EMERGENCY-STOP");
    EXPECT_EQ(state["errors"][0]["errorLevel"], "FATAL");
    // Only what is not continuous makes a new state.
    RobotView moved = view;
    moved.pose->x = 3;
    EXPECT_EQ(stateEvents(stateBody({moved, executor, actions, errors, codes, "site", true})), stateEvents(state));
}

// A robot's answers of another shape than its own are passed over, never
// thrown on the session's thread, where they would end the whole bridge.
TEST(Documents, AnswersOfAnotherShapeReadAsNothing) {
    const auto at = WallClock::time_point(std::chrono::milliseconds(1));
    RobotView view;
    const char* moving[] = {R"({"Position":"here"})", R"({"Position":[1,2,3]})",
                            R"({"Position":{"x":"1","y":2,"theta":0}})"};
    for (const char* answer : moving) EXPECT_FALSE(view.read("all-moving-info-v2", parsed(answer), at)) << answer;
    EXPECT_FALSE(view.pose);
    EXPECT_TRUE(view.read("all-moving-info-v2",
                          parsed(R"({"Position":{"x":1,"y":2,"theta":0},"validPosition":"yes","movingState":1e300})"), at));
    EXPECT_EQ(view.movingState, 0);
    view.read("robot-speed", parsed(R"({"mS":"fast","radS":{}})"), at);
    view.read("battery-status-v2", parsed(R"({"batteryPercent":50,"batteryVoltage":[1]})"), at);
    view.read("robot-status", parsed(R"({"status":1e12})"), at);
    EXPECT_FALSE(view.status);
    view.read("error-list", parsed(R"({"not":"a list"})"), at);
    view.read("error-list", parsed(R"([7,{"resolved":"no","errorCode":["X"]},{"resolved":0,"errorCode":12,"rank":"high"}])"), at);
    ASSERT_EQ(view.errors.size(), 1u);
    EXPECT_EQ(view.errors[0].code, "12");
    EXPECT_EQ(view.errors[0].rank, 0);
}

FleetSettings settingsFrom(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    return parseSettings(static_cast<int>(argv.size()), argv.data());
}

TEST(Options, TheCommandLineOverridesTheSitesConfigFile) {
    robotest::TempDir folder;
    const std::string config = folder.path() + "/site.json";
    std::ofstream(folder.path() + "/password") << "secret\nignored\n";
    std::ofstream(config) << R"({"broker": "mqtt.site:8883", "map-id": "ward-a", "plain": true, "timeout": 2,
        "broker-password-file": ")" << folder.path() << R"(/password",
        "robots": {"A-1": "10.0.0.1", "A-2": "[fd00::2]:10002"},
        "robot-codes": {"errors": {"LIDAR-BLOCKED": {"label": "lidar blocked", "severity": "fatal"}}}})";
    const FleetSettings s = settingsFrom({"robocomm-fleet", "--map-id=ward-b", "--config", config, "--robot", "B-1=robot-b"});
    ASSERT_EQ(s.robots.size(), 3u);
    EXPECT_EQ(s.robots[1].link.host, "fd00::2");
    EXPECT_EQ(s.robots[1].link.port, 10002);
    EXPECT_EQ(s.robots[2].identity.serial, "B-1");
    EXPECT_EQ(s.robots[2].link.port, 10001);
    for (const VehicleSettings& robot : s.robots) {
        EXPECT_EQ(robot.mapId, "ward-b");
        EXPECT_EQ(robot.broker.host, "mqtt.site");
        EXPECT_EQ(robot.broker.port, 8883);
        EXPECT_EQ(robot.broker.password, "secret");
        EXPECT_TRUE(robot.link.plain);
        EXPECT_EQ(robot.link.timeout.count(), 2000);
    }
    EXPECT_EQ(s.codes.error("LIDAR-BLOCKED").severity, "fatal");

    std::ofstream(config) << R"({"robots": {"A-1": "10.0.0.1"}, "colour": "blue"})";
    EXPECT_THROW(settingsFrom({"robocomm-fleet", "--config", config}), tools::Failure);
    EXPECT_THROW(settingsFrom({"robocomm-fleet", "--robot", "A/1=h"}), tools::Failure);
    EXPECT_THROW(settingsFrom({"robocomm-fleet", "--robot", "A=h", "--robot", "A=g"}), tools::Failure);
    EXPECT_THROW(settingsFrom({"robocomm-fleet"}), tools::Failure);
}

}  // namespace
}  // namespace robocomm::fleet
