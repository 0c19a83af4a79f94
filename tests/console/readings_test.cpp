// The console's own record of the robot's readings: the hour of battery
// and speed samples (its bound, its window, its CSV text), the lease that
// keeps the sensors polled while a page shows them, and their routes
// behind the console's checks.
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <string>
#include <thread>

#include "common/json_text.h"
#include "console/access.h"
#include "console/events.h"
#include "console/history.h"
#include "console/http_api.h"
#include "console/readings_api.h"
#include "console/sensors.h"
#include "unreachable_robot.h"

namespace robocomm::console {
namespace {

using namespace std::chrono_literals;

Json::Value parsed(const std::string& text) {
    Json::Value root;
    std::string errors;
    EXPECT_TRUE(tools::parseJson(text, root, errors)) << errors;
    return root;
}

// 2026-11-25T07:30:00Z
const WallClock::time_point kStart = WallClock::from_time_t(1795591800);

Json::Value battery(double percent, double voltage, double current) {
    Json::Value body;
    body["batteryPercent"] = percent;
    body["batteryVoltage"] = voltage;
    body["batteryCurrent"] = current;
    body["numberOfCycles"] = 112;
    return body;
}

Json::Value speed(double mS) {
    Json::Value body;
    body["mS"] = mS;
    body["radS"] = 0.5;
    return body;
}

TEST(History, KeepsOneSamplePerSecondWithTheLatestValues) {
    EventHub events;
    History history(events);
    history.record("battery-status-v2", battery(80, 15.36, -0.4), kStart + 100ms);
    history.record("robot-speed", speed(0.25), kStart + 600ms);  // the same second: no sample
    history.record("position", parsed(R"({"x":1,"y":2,"theta":0})"), kStart + 1200ms);  // not kept
    history.record("robot-speed", speed(0.5), kStart + 1900ms);
    history.record("battery-status-v2", battery(79, 15.3, -1.4), kStart + 3000ms);

    const Json::Value samples = history.json()["samples"];
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(tools::compactJson(samples[0]),
              R"({"current":-0.4,"percent":80,"speed":null,"time":"2026-11-25T07:30:00Z","voltage":15.36})");
    EXPECT_EQ(tools::compactJson(samples[1]),
              R"({"current":-0.4,"percent":80,"speed":0.5,"time":"2026-11-25T07:30:01Z","voltage":15.36})");
    EXPECT_EQ(samples[2]["time"].asString(), "2026-11-25T07:30:03Z");
    EXPECT_EQ(samples[2]["current"].asDouble(), -1.4);
}

TEST(History, CsvHasAHeaderWithUnitsAndOneRowPerSample) {
    EventHub events;
    History history(events);
    history.record("battery-status-v2", battery(80, 15.36, -0.4), kStart);
    history.record("robot-speed", speed(0.1), kStart + 1s);
    EXPECT_EQ(history.csv(),
              "time (UTC),battery (%),voltage (V),current (A),speed (m/s)\r\n"
              "2026-11-25T07:30:00Z,80,15.36,-0.4,\r\n"
              "2026-11-25T07:30:01Z,80,15.36,-0.4,0.1\r\n");
}

TEST(History, HoldsAtMostAnHourOfSamples) {
    EventHub events;
    History history(events);
    for (int second = 0; second < 4000; ++second)
        history.record("robot-speed", speed(second), kStart + std::chrono::seconds(second));
    const Json::Value samples = history.json()["samples"];
    ASSERT_EQ(samples.size(), History::kCapacity);
    EXPECT_EQ(samples[0]["speed"].asInt(), 400);
    EXPECT_EQ(samples[Json::ArrayIndex(History::kCapacity - 1)]["speed"].asInt(), 3999);
}

TEST(History, DropsWhatIsOlderThanAnHourAfterAGap) {
    EventHub events;
    History history(events);
    for (int second = 0; second < 10; ++second)
        history.record("robot-speed", speed(second), kStart + std::chrono::seconds(second));
    // The link was down for most of an hour: the first five samples are now older than the hour.
    history.record("robot-speed", speed(-1), kStart + 3605s);
    const Json::Value samples = history.json()["samples"];
    ASSERT_EQ(samples.size(), 5u);
    EXPECT_EQ(samples[0]["time"].asString(), "2026-11-25T07:30:06Z");
    EXPECT_EQ(samples[4]["time"].asString(), "2026-11-25T08:30:05Z");
}

TEST(History, PublishesEachNewSampleForThePage) {
    EventHub events;
    uint64_t cursor = 0;
    events.snapshot(cursor);
    History history(events);
    history.record("robot-speed", speed(0.5), kStart);
    history.record("robot-speed", speed(0.7), kStart + 10ms);
    const std::string text = events.next(cursor, tools::Millis(0));
    EXPECT_EQ(text.find("event: history"), 0u) << text;
    EXPECT_NE(text.find(R"("speed":0.5)"), std::string::npos) << text;
    EXPECT_EQ(events.next(cursor, tools::Millis(0)), "");
}

TEST(SensorLease, LapsesUnlessRenewed) {
    SensorLease lease;
    const auto now = SensorLease::Clock::now();
    EXPECT_FALSE(lease.held(now));
    lease.renew(now);
    EXPECT_TRUE(lease.held(now + SensorLease::kLength - 1ms));
    EXPECT_FALSE(lease.held(now + SensorLease::kLength));
    lease.renew(now + 4s);
    EXPECT_TRUE(lease.held(now + SensorLease::kLength + 3s));
}

// The readings' routes behind the console's checks, the robot unreachable.
class ReadingsRoutes : public ::testing::Test {
protected:
    void SetUp() override {
        port = server.bind_to_any_port("127.0.0.1");
        ASSERT_GT(port, 0);
        AccessRules rules;
        rules.token = "secret";
        rules.hosts = acceptedHosts("127.0.0.1", static_cast<uint16_t>(port), {});
        rules.port = static_cast<uint16_t>(port);
        servePage(server, events, rules, "index.html");
        serveReadings(server, history, sensors);
        listener = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 100 && !server.is_running(); ++i) std::this_thread::sleep_for(10ms);
        client = std::make_unique<httplib::Client>("127.0.0.1", port);
        client->set_bearer_token_auth("secret");
    }
    void TearDown() override {
        events.close();
        server.stop();
        listener.join();
    }

    EventHub events;
    History history{events};
    tools::Session session{unreachableRobot(), tools::SessionPlan{}, history};
    SensorPolls sensors{session, events};
    httplib::Server server;
    std::thread listener;
    std::unique_ptr<httplib::Client> client;
    int port = 0;
};

TEST_F(ReadingsRoutes, TheCsvComesAsAnAttachment) {
    history.record("robot-speed", speed(0.5), kStart);
    const auto csv = client->Get("/api/history.csv");
    ASSERT_TRUE(csv);
    EXPECT_EQ(csv->status, 200);
    EXPECT_EQ(csv->get_header_value("Content-Type"), "text/csv; charset=utf-8");
    EXPECT_EQ(csv->get_header_value("Content-Disposition"), "attachment; filename=\"robot-history.csv\"");
    EXPECT_EQ(csv->body, history.csv());
    const auto json = client->Get("/api/history");
    ASSERT_TRUE(json);
    EXPECT_EQ(parsed(json->body)["samples"][0]["speed"].asDouble(), 0.5);
}

// Another site's form can post text/plain: it must not keep the link busy.
TEST_F(ReadingsRoutes, TheLeaseWantsJsonAndTheToken) {
    const auto form = client->Post("/api/sensors/lease", "{}", "text/plain");
    ASSERT_TRUE(form);
    EXPECT_EQ(form->status, 415) << form->body;
    const auto tokenless = httplib::Client("127.0.0.1", port).Post("/api/sensors/lease", "{}", "application/json");
    ASSERT_TRUE(tokenless);
    EXPECT_EQ(tokenless->status, 401);
    const auto lease = client->Post("/api/sensors/lease", "{}", "application/json");
    ASSERT_TRUE(lease);
    EXPECT_EQ(lease->status, 200) << lease->body;
    EXPECT_EQ(parsed(lease->body)["sensors"].size(), kSensorCommands.size());
    EXPECT_GT(parsed(lease->body)["milliseconds"].asInt(), 4000);
}

}  // namespace
}  // namespace robocomm::console
