// The fleet bridge end to end: a real mosquitto, demo robots on their own
// ports, the bridge as its own process, and an MQTT client watching. What a
// robot does is judged from the robot's side (its own output). Every
// message the bridge publishes is checked against the VDA 5050 schemas.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "fleet_e2e/site.h"

namespace fleet_e2e {
namespace {

using namespace std::chrono_literals;

std::string fileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

size_t count(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

std::string topic(const std::string& serial, const std::string& name) {
    return "uagv/v2/robocomm/" + serial + "/" + name;
}

Json::Value header(const std::string& serial) {
    Json::Value message;
    message["headerId"] = 1;
    message["timestamp"] = "2026-01-01T00:00:00.000Z";
    message["version"] = "2.0.0";
    message["manufacturer"] = "robocomm";
    message["serialNumber"] = serial;
    return message;
}

// Nodes at the given points, all released; the robot starts at (1.6, 1.6).
Json::Value order(const std::string& serial, const std::string& id, int update, int firstSequence,
                  const std::vector<std::pair<double, double>>& points) {
    Json::Value o = header(serial);
    o["orderId"] = id;
    o["orderUpdateId"] = update;
    o["nodes"] = Json::Value(Json::arrayValue);
    o["edges"] = Json::Value(Json::arrayValue);
    for (size_t i = 0; i < points.size(); ++i) {
        Json::Value node;
        const int sequence = firstSequence + static_cast<int>(2 * i);
        node["nodeId"] = "n" + std::to_string(sequence / 2);
        node["sequenceId"] = sequence;
        node["released"] = true;
        node["nodePosition"]["x"] = points[i].first;
        node["nodePosition"]["y"] = points[i].second;
        node["nodePosition"]["mapId"] = "map";
        node["actions"] = Json::Value(Json::arrayValue);
        o["nodes"].append(node);
        if (i == 0) continue;
        Json::Value edge;
        edge["edgeId"] = "e" + std::to_string(sequence / 2);
        edge["sequenceId"] = sequence - 1;
        edge["released"] = true;
        edge["startNodeId"] = o["nodes"][static_cast<int>(i) - 1]["nodeId"];
        edge["endNodeId"] = node["nodeId"];
        edge["actions"] = Json::Value(Json::arrayValue);
        o["edges"].append(edge);
    }
    return o;
}

Json::Value instant(const std::string& serial, const std::string& type, const std::string& id) {
    Json::Value message = header(serial);
    Json::Value action;
    action["actionId"] = id;
    action["actionType"] = type;
    action["blockingType"] = "NONE";
    message["actions"].append(action);
    return message;
}

class Site : public ::testing::Test {
protected:
    void startSite(int robots, bool secured = false) {
        broker = std::make_unique<Broker>(folder.path(), secured);
        observer = std::make_unique<Observer>(broker->port(), broker->security());
        for (int i = 0; i < robots; ++i) {
            ports.push_back(freePort());
            startRobot(i);
        }
        startBridge();
    }
    std::string serial(int i) const { return "R" + std::to_string(i + 1); }
    std::string robotLog(int i) const { return fileText(folder.path() + "/" + serial(i) + ".log"); }
    void startRobot(int i) {
        const auto robot = std::make_shared<Child>(
            std::vector<std::string>{ROBOCOMM_DEMO_HOST_PATH, "--port", std::to_string(ports[i]), "--serial", serial(i),
                                     "--run-dir", folder.path() + "/" + serial(i)},
            folder.path() + "/" + serial(i) + ".log");
        if (robotProcesses.size() <= static_cast<size_t>(i)) robotProcesses.resize(i + 1);
        robotProcesses[i] = robot;
        for (int wait = 0; wait < 250 && robotLog(i).find("serving port") == std::string::npos; ++wait)
            std::this_thread::sleep_for(20ms);
    }
    void startBridge() {
        std::vector<std::string> command{ROBOCOMM_FLEET_PATH, "--broker", "127.0.0.1:" + std::to_string(broker->port())};
        for (size_t i = 0; i < ports.size(); ++i)
            command.insert(command.end(), {"--robot", serial(i) + "=127.0.0.1:" + std::to_string(ports[i])});
        const BrokerSecurity& security = broker->security();
        if (!security.user.empty()) {
            std::ofstream(folder.path() + "/broker-password") << security.password << "\n";
            command.insert(command.end(), {"--broker-user", security.user, "--broker-password-file",
                                           folder.path() + "/broker-password", "--ca-file", security.caFile});
        }
        bridge = std::make_unique<Child>(command, folder.path() + "/bridge.log");
    }
    // A connection message after the first `from`.
    bool awaitConnection(int robot, const std::string& state, size_t from = 0, Seconds wait = 30s) {
        return observer->await(
            [&](const Received& m) {
                return m.topic == topic(serial(robot), "connection") && m.document["connectionState"] == state;
            },
            wait, from);
    }
    // The robot's state once `test` holds for it.
    Json::Value awaitState(int robot, const std::function<bool(const Json::Value&)>& test, Seconds wait = 20s) {
        Json::Value found;
        observer->await(
            [&](const Received& m) {
                if (m.topic != topic(serial(robot), "state") || !test(m.document)) return false;
                found = m.document;
                return true;
            },
            wait);
        return found;
    }
    static bool actionIs(const Json::Value& state, const std::string& id, const std::string& status) {
        for (const Json::Value& action : state["actionStates"])
            if (action["actionId"] == id) return action["actionStatus"] == status;
        return false;
    }
    void TearDown() override {
        if (!observer) return;
        std::string skipped;
        const std::string problems = schemaProblems(observer->received(), folder.path(), skipped);
        if (!skipped.empty()) std::cout << "schema check skipped: " << skipped;
        EXPECT_EQ(problems, "") << "messages that do not validate against the VDA 5050 schemas";
    }

    robotest::TempDir folder;
    std::unique_ptr<Broker> broker;
    std::unique_ptr<Observer> observer;
    std::vector<uint16_t> ports;
    std::vector<std::shared_ptr<Child>> robotProcesses;
    std::unique_ptr<Child> bridge;
};

TEST_F(Site, RobotsComeOnlineAndTheBridgesWillsSayWhenItDies) {
    startSite(2);
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(awaitConnection(i, "ONLINE")) << fileText(folder.path() + "/bridge.log");
    // A client that comes later finds ONLINE retained, and the factsheet.
    Observer late(broker->port());
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(late.await([&](const Received& m) {
            return m.topic == topic(serial(i), "connection") && m.retained && m.document["connectionState"] == "ONLINE";
        }));
        EXPECT_TRUE(late.await([&](const Received& m) { return m.topic == topic(serial(i), "factsheet") && m.retained; }));
    }
    EXPECT_TRUE(observer->await([](const Received& m) {
        return m.topic == topic("R1", "visualization") && m.document["agvPosition"]["x"].asDouble() == 1.6;
    }));
    const size_t before = observer->mark();
    bridge->signal(SIGKILL);
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(awaitConnection(i, "CONNECTIONBROKEN", before));
}

TEST_F(Site, AnOrderIsDrivenNodeByNodeAndUpdated) {
    startSite(1);
    ASSERT_TRUE(awaitConnection(0, "ONLINE"));
    ASSERT_FALSE(awaitState(0, [](const Json::Value& s) { return s.isMember("agvPosition"); }).isNull());
    // A malformed order (its edge leads nowhere) is rejected; the robot stays.
    Json::Value malformed = order("R1", "bad", 0, 0, {{1.6, 1.6}, {2.0, 1.6}});
    malformed["edges"][0]["endNodeId"] = "nowhere";
    observer->publish(topic("R1", "order"), malformed);
    EXPECT_FALSE(awaitState(0, [](const Json::Value& s) {
                     return !s["errors"].empty() && s["errors"][0]["errorType"] == "validationError";
                 }).isNull());

    observer->publish(topic("R1", "order"), order("R1", "o1", 0, 0, {{1.6, 1.6}, {2.0, 1.6}, {2.0, 2.0}}));
    EXPECT_FALSE(awaitState(0, [](const Json::Value& s) { return s["lastNodeId"] == "n1"; }).isNull());
    // The update adds a node beyond the base's end (n2).
    observer->publish(topic("R1", "order"), order("R1", "o1", 1, 4, {{2.0, 2.0}, {1.6, 2.0}}));
    const Json::Value done = awaitState(
        0, [](const Json::Value& s) { return s["lastNodeId"] == "n3" && s["nodeStates"].empty(); }, 20s);
    ASSERT_FALSE(done.isNull());
    EXPECT_TRUE(done["edgeStates"].empty());
    EXPECT_EQ(done["orderUpdateId"], 1);
    EXPECT_TRUE(done["errors"].empty()) << "the accepted order clears the validation warning";
    // The robot drove to each node in turn, and never to the malformed order's.
    const std::string log = robotLog(0);
    const size_t first = log.find("driving to (2, 1.6)");
    const size_t second = log.find("driving to (2, 2)");
    const size_t third = log.find("driving to (1.6, 2)");
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
    EXPECT_NE(third, std::string::npos);
    EXPECT_EQ(count(log, "driving to"), 3u) << log;
}

TEST_F(Site, InstantActionsAndCancelOrder) {
    startSite(1);
    ASSERT_TRUE(awaitConnection(0, "ONLINE"));
    ASSERT_FALSE(awaitState(0, [](const Json::Value& s) { return s.isMember("agvPosition"); }).isNull());
    observer->publish(topic("R1", "instantActions"), instant("R1", "cancelOrder", "c0"));
    const Json::Value noOrder = awaitState(0, [](const Json::Value& s) { return actionIs(s, "c0", "FAILED"); });
    ASSERT_FALSE(noOrder.isNull());
    EXPECT_EQ(noOrder["errors"][0]["errorType"], "noOrderToCancel");
    EXPECT_EQ(noOrder["errors"][0]["errorLevel"], "WARNING");

    observer->publish(topic("R1", "order"), order("R1", "o1", 0, 0, {{1.6, 1.6}, {3.0, 1.6}}));
    ASSERT_FALSE(awaitState(0, [](const Json::Value& s) { return s["driving"] == true; }).isNull());
    observer->publish(topic("R1", "instantActions"), instant("R1", "cancelOrder", "c1"));
    const Json::Value cancelled = awaitState(0, [](const Json::Value& s) { return actionIs(s, "c1", "FINISHED"); });
    ASSERT_FALSE(cancelled.isNull());
    EXPECT_TRUE(cancelled["nodeStates"].empty());
    EXPECT_EQ(cancelled["orderId"], "o1");
    EXPECT_EQ(count(robotLog(0), "driving to"), 2u) << "the order's node, then the stop where it was";

    for (const char* type : {"startPause", "stopPause", "startCharging", "stopCharging", "stateRequest",
                             "factsheetRequest", "emergencyStop"}) {
        observer->publish(topic("R1", "instantActions"), instant("R1", type, type));
        EXPECT_FALSE(awaitState(0, [&](const Json::Value& s) { return actionIs(s, type, "FINISHED"); }).isNull()) << type;
    }
    EXPECT_FALSE(awaitState(0, [](const Json::Value& s) { return s["safetyState"]["eStop"] == "REMOTE"; }).isNull());
    EXPECT_NE(robotLog(0).find("EMERGENCY-STOP"), std::string::npos);
    observer->publish(topic("R1", "instantActions"), instant("R1", "recovery", "recovery"));
    EXPECT_FALSE(awaitState(0, [](const Json::Value& s) {
                     return actionIs(s, "recovery", "FINISHED") && s["safetyState"]["eStop"] == "NONE";
                 }).isNull());
    Json::Value init = instant("R1", "initPosition", "init");
    for (const auto& [key, value] : {std::pair<const char*, double>{"x", 0.5}, {"y", 0.5}, {"theta", 0}}) {
        Json::Value parameter;
        parameter["key"] = key;
        parameter["value"] = value;
        init["actions"][0]["actionParameters"].append(parameter);
    }
    observer->publish(topic("R1", "instantActions"), init);
    EXPECT_FALSE(awaitState(0, [](const Json::Value& s) { return actionIs(s, "init", "FINISHED"); }).isNull());
    observer->publish(topic("R1", "instantActions"), instant("R1", "liftFork", "lift"));
    EXPECT_FALSE(awaitState(0, [](const Json::Value& s) { return actionIs(s, "lift", "FAILED"); }).isNull());
}

TEST_F(Site, ARobotAndTheBrokerComeBack) {
    startSite(2);
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(awaitConnection(i, "ONLINE"));
    const size_t before = observer->mark();
    robotProcesses[1]->signal(SIGKILL);
    robotProcesses[1]->stop();
    EXPECT_TRUE(awaitConnection(1, "CONNECTIONBROKEN", before));
    const size_t broken = observer->mark();
    startRobot(1);
    EXPECT_TRUE(awaitConnection(1, "ONLINE", broken, 20s));
    const std::vector<Received> since = observer->received();
    for (size_t i = before; i < since.size(); ++i)
        EXPECT_FALSE(since[i].topic == topic("R1", "connection")) << "the other robot stays ONLINE";

    broker->stop();
    broker->start();
    Observer after(broker->port());
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(after.await([&](const Received& m) {
        return m.topic == topic(serial(i), "connection") && m.document["connectionState"] == "ONLINE";
    }, 40s));
    EXPECT_TRUE(after.await([](const Received& m) { return m.topic == topic("R2", "visualization"); }));
    EXPECT_EQ(bridge->stop(), 0);
    EXPECT_TRUE(after.await([](const Received& m) {
        return m.topic == topic("R1", "connection") && m.document["connectionState"] == "OFFLINE";
    }));
}

TEST_F(Site, ABrokerWithTlsAndPasswords) {
    startSite(1, true);
    EXPECT_TRUE(awaitConnection(0, "ONLINE")) << fileText(folder.path() + "/bridge.log")
                                              << fileText(folder.path() + "/mosquitto.log");
    EXPECT_TRUE(observer->await([](const Received& m) { return m.topic == topic("R1", "visualization"); }));
}

}  // namespace
}  // namespace fleet_e2e
