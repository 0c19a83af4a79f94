// The fleet page's model without a broker: what robots publish, read into
// the operator's table, and the messages the console sends a robot, checked
// against the VDA 5050 schemas when ../shared/vda5050-2.1.0 is there.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "common/failure.h"
#include "common/json_text.h"
#include "console/fleet_view.h"
#include "support/temp_dir.h"

namespace robocomm::console {
namespace {

using tools::Exit;
using tools::Failure;

const auto kAt = WallClock::time_point(std::chrono::milliseconds(1764043262345));

const char kFactsheet[] = R"({"protocolFeatures": {"agvActions": [
    {"actionType": "cancelOrder"}, {"actionType": "startPause"}, {"actionType": "stopPause"},
    {"actionType": "emergencyStop"}]}})";

const char kState[] = R"({"headerId": 4, "timestamp": "2026-11-25T04:01:02.345Z", "orderId": "o1",
    "lastNodeId": "n1", "driving": true, "paused": false, "operatingMode": "AUTOMATIC",
    "batteryState": {"batteryCharge": 87, "charging": false},
    "errors": [{"errorType": "EMERGENCY-STOP", "errorLevel": "FATAL", "errorDescription": "pressed"}],
    "safetyState": {"eStop": "REMOTE", "fieldViolation": false},
    "agvPosition": {"x": 1.5, "y": 2.0, "theta": 0.5, "mapId": "map", "positionInitialized": true}})";

Json::Value rowOf(const FleetView& view, const std::string& serial) {
    for (const Json::Value& row : view.table())
        if (row["serial"] == serial) return row;
    ADD_FAILURE() << "no row for " << serial;
    return Json::Value();
}

// A view that knows R1: online, its state and its factsheet.
FleetView viewWithRobot() {
    FleetView view({"uagv", "robocomm", ""});
    EXPECT_TRUE(view.receive("uagv/v2/robocomm/R1/connection", R"({"connectionState": "ONLINE"})"));
    EXPECT_TRUE(view.receive("uagv/v2/robocomm/R1/state", kState));
    EXPECT_TRUE(view.receive("uagv/v2/robocomm/R1/factsheet", kFactsheet));
    return view;
}

TEST(FleetView, SubscribesToTheFourTopicsOfEveryRobot) {
    const FleetView view({"site", "acme", ""});
    EXPECT_EQ(view.subscriptions(), (std::vector<std::string>{"site/v2/acme/+/connection", "site/v2/acme/+/state",
                                                              "site/v2/acme/+/factsheet", "site/v2/acme/+/visualization"}));
}

TEST(FleetView, ReadsStateConnectionAndFactsheetIntoTheRow) {
    const FleetView view = viewWithRobot();
    const Json::Value row = rowOf(view, "R1");
    EXPECT_EQ(row["connection"], "ONLINE");
    EXPECT_EQ(row["battery"].asDouble(), 87);
    EXPECT_EQ(row["operatingMode"], "AUTOMATIC");
    EXPECT_TRUE(row["driving"].asBool());
    EXPECT_EQ(row["orderId"], "o1");
    EXPECT_EQ(row["eStop"], "REMOTE");
    ASSERT_EQ(row["errors"].size(), 1u);
    EXPECT_EQ(row["errors"][0]["type"], "EMERGENCY-STOP");
    EXPECT_EQ(row["errors"][0]["level"], "FATAL");
    EXPECT_EQ(row["position"]["mapId"], "map");
    EXPECT_EQ(row["position"]["x"].asDouble(), 1.5);
    // Only the commands whose action the factsheet lists.
    EXPECT_EQ(tools::compactJson(row["commands"]), R"(["pause","resume","cancel","stop"])");
}

TEST(FleetView, VisualizationMovesTheRobotAndTheWillMarksItBroken) {
    FleetView view = viewWithRobot();
    EXPECT_EQ(view.receive("uagv/v2/robocomm/R1/visualization",
                           R"({"agvPosition": {"x": 3, "y": 1, "theta": 0, "mapId": "map", "positionInitialized": true}})"),
              "R1");
    EXPECT_EQ(rowOf(view, "R1")["position"]["x"].asDouble(), 3);
    view.receive("uagv/v2/robocomm/R1/connection", R"({"connectionState": "CONNECTIONBROKEN"})");
    EXPECT_EQ(rowOf(view, "R1")["connection"], "CONNECTIONBROKEN");
}

TEST(FleetView, AnotherScopeOrABrokenMessageChangesNothing) {
    FleetView view = viewWithRobot();
    const std::string before = tools::compactJson(view.table());
    EXPECT_FALSE(view.receive("uagv/v2/other/R2/state", kState));
    EXPECT_FALSE(view.receive("uagv/v2/robocomm/R1/state", "{not json"));
    EXPECT_FALSE(view.receive("uagv/v2/robocomm/R1/state", "[1, 2]"));
    EXPECT_FALSE(view.receive("uagv/v2/robocomm/R1/order", kState));
    EXPECT_FALSE(view.receive("uagv/v2/robocomm/R1/connection", R"({"connectionState": 3})"));
    EXPECT_FALSE(view.receive("uagv/v2/robocomm//state", kState));
    EXPECT_EQ(tools::compactJson(view.table()), before);
    // A robot first seen on its state waits for its connection message.
    EXPECT_TRUE(view.receive("uagv/v2/robocomm/R2/state", kState));
    EXPECT_EQ(rowOf(view, "R2")["connection"], "UNKNOWN");
}

TEST(FleetView, InstantActionsCarryTheRobotsHeaderCountingPerTopic) {
    FleetView view = viewWithRobot();
    const Json::Value pause = view.instantAction("R1", "pause", kAt);
    EXPECT_EQ(pause["serialNumber"], "R1");
    EXPECT_EQ(pause["manufacturer"], "robocomm");
    EXPECT_EQ(pause["version"], "2.1.0");
    EXPECT_EQ(pause["timestamp"], "2025-11-25T04:01:02.345Z");
    EXPECT_EQ(pause["headerId"].asInt(), 0);
    ASSERT_EQ(pause["actions"].size(), 1u);
    EXPECT_EQ(pause["actions"][0]["actionType"], "startPause");
    EXPECT_EQ(pause["actions"][0]["blockingType"], "HARD");
    const Json::Value stop = view.instantAction("R1", "stop", kAt);
    EXPECT_EQ(stop["actions"][0]["actionType"], "emergencyStop");
    EXPECT_EQ(stop["headerId"].asInt(), 1);
    EXPECT_NE(stop["actions"][0]["actionId"], pause["actions"][0]["actionId"]);
    EXPECT_EQ(view.topic("R1", "instantActions"), "uagv/v2/robocomm/R1/instantActions");
}

TEST(FleetView, RefusesWhatTheRobotCannotTake) {
    FleetView view = viewWithRobot();
    const auto status = [&](const std::function<void()>& call) {
        try {
            call();
        } catch (const Failure& failure) {
            return failure.status();
        }
        return Exit::Ok;
    };
    EXPECT_EQ(status([&] { view.instantAction("R1", "dance", kAt); }), Exit::Usage);
    EXPECT_EQ(status([&] { view.instantAction("R9", "pause", kAt); }), Exit::Usage);
    // Its factsheet does not list startCharging.
    EXPECT_EQ(status([&] { view.instantAction("R1", "charge", kAt); }), Exit::Failed);
    view.receive("uagv/v2/robocomm/R3/connection", R"({"connectionState": "ONLINE"})");
    EXPECT_EQ(status([&] { view.orderTo("R3", 1, 1, kAt); }), Exit::Failed);
}

TEST(FleetView, AnOrderRunsFromWhereTheRobotStandsToThePoint) {
    FleetView view = viewWithRobot();
    const Json::Value order = view.orderTo("R1", 2.5, 0.75, kAt);
    EXPECT_EQ(order["orderUpdateId"].asInt(), 0);
    ASSERT_EQ(order["nodes"].size(), 2u);
    ASSERT_EQ(order["edges"].size(), 1u);
    const Json::Value& from = order["nodes"][0];
    const Json::Value& to = order["nodes"][1];
    EXPECT_EQ(tools::compactJson(from["nodePosition"]), R"({"mapId":"map","x":1.5,"y":2})");
    EXPECT_EQ(tools::compactJson(to["nodePosition"]), R"({"mapId":"map","x":2.5,"y":0.75})");
    EXPECT_EQ(from["sequenceId"].asInt(), 0);
    EXPECT_EQ(order["edges"][0]["sequenceId"].asInt(), 1);
    EXPECT_EQ(to["sequenceId"].asInt(), 2);
    EXPECT_EQ(order["edges"][0]["startNodeId"], from["nodeId"]);
    EXPECT_EQ(order["edges"][0]["endNodeId"], to["nodeId"]);
    EXPECT_NE(view.orderTo("R1", 1, 1, kAt)["orderId"], order["orderId"]);
}

TEST(FleetView, MessagesItSendsValidateAgainstTheSchemas) {
    FleetView view = viewWithRobot();
    view.receive("uagv/v2/robocomm/R1/factsheet",
                 R"({"protocolFeatures": {"agvActions": [{"actionType": "startCharging"}, {"actionType": "stopCharging"},
                     {"actionType": "startPause"}, {"actionType": "stopPause"}, {"actionType": "cancelOrder"},
                     {"actionType": "emergencyStop"}]}})");
    robotest::TempDir folder;
    const std::string messages = folder.path() + "/messages.jsonl";
    {
        std::ofstream out(messages);
        const auto line = [&](const std::string& topic, const Json::Value& document) {
            Json::Value message;
            message["topic"] = topic;
            message["document"] = document;
            out << tools::compactJson(message) << "\n";
        };
        for (const FleetCommand& command : fleetCommands())
            line(view.topic("R1", "instantActions"), view.instantAction("R1", command.name, kAt));
        line(view.topic("R1", "order"), view.orderTo("R1", 0.5, 0.5, kAt));
    }
    const std::string report = folder.path() + "/report.txt";
    const int status =
        std::system(("python3 " FLEET_VALIDATOR " " VDA5050_SCHEMAS " " + messages + " >" + report + " 2>&1").c_str());
    std::stringstream text;
    text << std::ifstream(report).rdbuf();
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (code == 77) GTEST_SKIP() << text.str();
    EXPECT_EQ(code, 0) << text.str();
    EXPECT_NE(text.str().find("checked 6 instantActions, 1 order"), std::string::npos) << text.str();
}

}  // namespace
}  // namespace robocomm::console
