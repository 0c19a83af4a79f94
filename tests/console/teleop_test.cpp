// Driving by hand: the dead man's switch, the limits and the pacing of the
// console's MotorManual_VW commands, on a fake clock and a fake robot that
// settles when the test says; then the route with a robot that cannot be
// reached.
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <thread>
#include <vector>

#include "common/failure.h"
#include "common/json_text.h"
#include "common/session.h"
#include "console/access.h"
#include "console/events.h"
#include "console/robot_events.h"
#include "console/teleop.h"
#include "console/teleop_api.h"
#include "unreachable_robot.h"

namespace robocomm::console {
namespace {

using namespace std::chrono_literals;
using tools::Exit;
using tools::Failure;

const Velocity kAhead{0.2, 0};
const Velocity kStill{};

// Takes every command and holds it until the test settles it; with
// `answerAtOnce` it settles each as it comes, on the sender's thread.
class FakeRobot : public VelocitySink {
public:
    void send(const Velocity& velocity, Settled settled) override {
        std::unique_lock<std::mutex> lock(mutex_);
        told_.push_back(velocity);
        if (!answerAtOnce_) {
            waiting_.push_back(std::move(settled));
            return;
        }
        lock.unlock();
        settled(nullptr);
    }
    // Settles the oldest command on its way: taken, or failed with `failure`.
    void settle(std::exception_ptr failure = nullptr) {
        std::unique_lock<std::mutex> lock(mutex_);
        ASSERT_FALSE(waiting_.empty()) << "no command on its way";
        Settled settled = std::move(waiting_.front());
        waiting_.erase(waiting_.begin());
        lock.unlock();
        settled(failure);
    }
    void answerAtOnce() {
        std::lock_guard<std::mutex> lock(mutex_);
        answerAtOnce_ = true;
    }
    std::vector<Velocity> told() {
        std::lock_guard<std::mutex> lock(mutex_);
        return told_;
    }
    size_t onTheWay() {
        std::lock_guard<std::mutex> lock(mutex_);
        return waiting_.size();
    }

private:
    std::mutex mutex_;
    std::vector<Velocity> told_;
    std::vector<Settled> waiting_;
    bool answerAtOnce_ = false;
};

std::exception_ptr unreachable() {
    return std::make_exception_ptr(Failure(Exit::Unreachable, "the robot is unreachable: connection refused"));
}

class TeleopTest : public ::testing::Test {
protected:
    // The Teleop waits at its end for the command on its way.
    void TearDown() override {
        robot.answerAtOnce();
        while (robot.onTheWay()) robot.settle();
    }
    void advance(Millis step) { now += step; }
    std::string shownState() const { return shown.empty() ? "" : shown.back()["state"].asString(); }
    std::string shownReason() const { return shown.empty() ? "" : shown.back()["reason"].asString(); }

    Clock::time_point now = Clock::time_point(100s);
    FakeRobot robot;
    std::vector<Json::Value> shown;
    Teleop teleop{TeleopLimits{0.3, 0.8}, robot, [this](const Json::Value& state) { shown.push_back(state); },
                  [this] { return now; }};
};

TEST_F(TeleopTest, OneCommandOnItsWayAndThenTheLatestWanted) {
    teleop.drive(kAhead);
    advance(100ms);
    teleop.drive({0.25, 0});
    teleop.drive({0.3, 0.5});
    ASSERT_EQ(robot.told().size(), 1u);
    robot.settle();
    EXPECT_EQ(shownState(), "driving");
    // The next waits out the gap that leaves the polls their share of the link.
    EXPECT_EQ(robot.told().size(), 1u);
    advance(kSendGap - 100ms);
    teleop.tick();
    ASSERT_EQ(robot.told().size(), 2u);
    EXPECT_EQ(robot.told()[1], (Velocity{0.3, 0.5}));
}

TEST_F(TeleopTest, ClampsToTheLimitsAndShowsThem) {
    teleop.drive({2, -5});
    teleop.stop(StopCause::Released);
    robot.settle();
    robot.settle();
    advance(kSendGap);
    teleop.drive({-1, 0.1});
    robot.settle();
    ASSERT_EQ(robot.told().size(), 3u);
    EXPECT_EQ(robot.told()[0], (Velocity{0.3, -0.8}));
    EXPECT_EQ(robot.told()[2], (Velocity{-0.3, 0.1}));
    EXPECT_EQ(shown.back()["maxLinear"].asDouble(), 0.3);
    EXPECT_EQ(shown.back()["maxAngular"].asDouble(), 0.8);
    EXPECT_EQ(shown.back()["linear"].asDouble(), -0.3);
}

TEST_F(TeleopTest, APageThatFallsSilentIsStoppedByTheConsole) {
    teleop.drive(kAhead);
    robot.settle();
    // Fresh words keep it driving, however long.
    for (int i = 0; i < 10; ++i) {
        advance(150ms);
        teleop.drive(kAhead);
        teleop.tick();
        while (robot.onTheWay()) robot.settle();
    }
    EXPECT_EQ(shownState(), "driving");
    EXPECT_NE(robot.told().back(), kStill);
    advance(kFreshFor - 1ms);
    teleop.tick();
    EXPECT_NE(robot.told().back(), kStill);
    while (robot.onTheWay()) robot.settle();
    advance(1ms);
    teleop.tick();
    EXPECT_EQ(robot.told().back(), kStill);
    EXPECT_EQ(shownState(), "stopped");
    EXPECT_EQ(shownReason(), "no fresh command for 500 ms");
    // The zero goes once.
    robot.settle();
    const size_t sent = robot.told().size();
    advance(10s);
    teleop.tick();
    EXPECT_EQ(robot.told().size(), sent);
}

TEST_F(TeleopTest, AStopGoesAtOnceOrRightAfterTheCommandOnItsWay) {
    teleop.drive(kAhead);
    robot.settle();
    advance(10ms);
    teleop.stop(StopCause::FocusLost);
    ASSERT_EQ(robot.told().size(), 2u);
    EXPECT_EQ(robot.told()[1], kStill);
    EXPECT_EQ(shownReason(), "focus lost");
    robot.settle();

    advance(kSendGap);
    teleop.drive(kAhead);
    teleop.stop(StopCause::TabHidden);
    // The robot takes the drive after the stop was asked: zero follows it.
    robot.settle();
    EXPECT_EQ(shownState(), "stopped");
    EXPECT_EQ(shownReason(), "tab hidden");
    ASSERT_EQ(robot.told().size(), 4u);
    EXPECT_EQ(robot.told()[3], kStill);
}

TEST_F(TeleopTest, ACommandThatFailedOwesZeroAndIsTriedAgainAfterAPause) {
    teleop.drive(kAhead);
    robot.settle(unreachable());
    EXPECT_EQ(shownState(), "stopped");
    EXPECT_EQ(shownReason(), "the robot is unreachable: connection refused");
    // The page still holds: no try before the pause, one after it.
    advance(kRetry - 1ms);
    teleop.drive(kAhead);
    EXPECT_EQ(robot.told().size(), 1u);
    advance(1ms);
    teleop.tick();
    ASSERT_EQ(robot.told().size(), 2u);
    robot.settle(unreachable());
    // The page went away meanwhile: the robot may have taken the drive, so zero is owed until taken.
    advance(kFreshFor);
    teleop.tick();
    EXPECT_EQ(robot.told().size(), 3u);
    EXPECT_EQ(robot.told().back(), kStill);
    robot.settle(unreachable());
    advance(kRetry);
    teleop.tick();
    ASSERT_EQ(robot.told().size(), 4u);
    robot.settle();
    advance(10s);
    teleop.tick();
    EXPECT_EQ(robot.told().size(), 4u);
    EXPECT_EQ(shownState(), "stopped");
}

TEST_F(TeleopTest, AnUnchangedDriveIsToldAgainOnlyEverySoOften) {
    teleop.drive(kAhead);
    robot.settle();
    for (int i = 0; i < 6; ++i) {
        advance(100ms);
        teleop.drive(kAhead);
        teleop.tick();
        while (robot.onTheWay()) robot.settle();
    }
    EXPECT_EQ(robot.told().size(), 2u) << "600 ms of the same velocity";
    // And the event stream hears no news while nothing changes.
    EXPECT_EQ(shown.size(), 2u);
}

TEST_F(TeleopTest, TheConsoleNeverStopsARobotItDidNotDrive) {
    // A zero from the console would also end a drive to a target.
    teleop.stop(StopCause::FocusLost);
    teleop.stop(StopCause::StreamLost);
    advance(10s);
    teleop.tick();
    robot.answerAtOnce();
    teleop.finish();
    EXPECT_TRUE(robot.told().empty());
    EXPECT_EQ(shownReason(), "console stopping");
}

TEST_F(TeleopTest, AtItsEndTheConsoleStopsTheRobotAndDrivesNoMore) {
    teleop.drive(kAhead);
    // The drive is still on its way when the console ends.
    std::thread answering([this] {
        robot.answerAtOnce();
        robot.settle();
    });
    teleop.finish();
    answering.join();
    EXPECT_EQ(robot.told().back(), kStill);
    const size_t sent = robot.told().size();
    teleop.drive(kAhead);
    advance(10s);
    teleop.tick();
    EXPECT_EQ(robot.told().size(), sent);
}

TEST_F(TeleopTest, ARefusalCountsAsAFailure) {
    teleop.drive(kAhead);
    robot.settle(std::make_exception_ptr(Failure(Exit::Failed, "the robot refused 0.2 m/s, 0 rad/s")));
    EXPECT_EQ(shownState(), "stopped");
    EXPECT_EQ(shownReason(), "the robot refused 0.2 m/s, 0 rad/s");
    teleop.stop(StopCause::Released);
    advance(kRetry);
    teleop.tick();
    EXPECT_EQ(robot.told().back(), kStill);
}

// The route and the console's session, its robot unreachable.
class TeleopRouteTest : public ::testing::Test {
protected:
    void SetUp() override {
        port = server.bind_to_any_port("127.0.0.1");
        ASSERT_GT(port, 0);
        desk.serve(server);
        listener = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 100 && !server.is_running(); ++i) std::this_thread::sleep_for(10ms);
    }
    void TearDown() override {
        server.stop();
        listener.join();
    }

    httplib::Result post(const std::string& body) {
        httplib::Client client("127.0.0.1", port);
        return client.Post("/api/teleop", body, "application/json");
    }

    // The kept "teleop" event, as the page gets it on connecting.
    std::string teleopEvent() {
        uint64_t cursor = 0;
        const std::string all = events.snapshot(cursor);
        const size_t at = all.find("event: teleop\n");
        return at == std::string::npos ? "" : all.substr(at, all.find("\n\n", at) - at);
    }

    EventHub events;
    RobotEvents robotEvents{events, unreachableRobot()};
    tools::Session session{unreachableRobot(), consolePlan(), robotEvents};
    TeleopDesk desk{session, events, TeleopLimits{}};
    httplib::Server server;
    std::thread listener;
    int port = 0;
};

TEST_F(TeleopRouteTest, SaysWhyTheRobotIsNotDriven) {
    EXPECT_NE(teleopEvent().find("\"reason\":\"not driven yet\""), std::string::npos) << teleopEvent();
    EXPECT_EQ(post(R"({"linear": 0, "angular": 0, "reason": "tab-hidden"})")->status, 200);
    EXPECT_NE(teleopEvent().find("\"reason\":\"tab hidden\""), std::string::npos) << teleopEvent();
    const auto answer = post(R"({"linear": 5, "angular": 0})");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200) << answer->body;
    const auto until = Clock::now() + 5s;
    while (teleopEvent().find("unreachable") == std::string::npos && Clock::now() < until)
        std::this_thread::sleep_for(20ms);
    EXPECT_NE(teleopEvent().find("\"reason\":\"the robot is unreachable"), std::string::npos) << teleopEvent();
    EXPECT_NE(teleopEvent().find("\"state\":\"stopped\""), std::string::npos) << teleopEvent();
}

TEST_F(TeleopRouteTest, RefusesWhatIsNotAVelocity) {
    const struct {
        const char* body;
        const char* says;
    } cases[] = {
        {"[0.1, 0]", "the body must be {\"linear\": m/s, \"angular\": rad/s}"},
        {"{\"linear\": 0.1", "not a JSON document"},
        {R"({"linear": "fast", "angular": 0})", "\"linear\" must be a number in m/s"},
        {R"({"linear": 0.1})", "\"angular\" must be a number in rad/s"},
        {R"({"linear": 0, "angular": true})", "\"angular\" must be a number in rad/s"},
        {R"({"linear": 1e999, "angular": 0})", ""},
        {R"({"linear": 0.1, "angular": 0, "reason": "released"})", "a reason comes with zero velocity only"},
        {R"({"linear": 0, "angular": 0, "reason": "bored"})",
         "\"reason\" is one of released, focus-lost, tab-hidden, page-closed, stream-lost"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        const auto answer = post(c.body);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 400);
        Json::Value body;
        std::string errors;
        ASSERT_TRUE(tools::parseJson(answer->body, body, errors)) << answer->body;
        EXPECT_NE(body["error"].asString().find(c.says), std::string::npos) << answer->body;
    }
    EXPECT_NE(teleopEvent().find("not driven yet"), std::string::npos) << "nothing reached the robot";
}

TEST(TeleopAccess, TakesJsonOnlyLikeEveryRouteThatActs) {
    AccessRules rules;
    rules.hosts = {"127.0.0.1:8080"};
    httplib::Request request;
    request.method = "POST";
    request.path = "/api/teleop";
    request.headers = {{"Host", "127.0.0.1:8080"}, {"Content-Type", "text/plain"}, {"Content-Length", "2"}};
    const auto refused = refusal(rules, request);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 415);
    request.headers = {{"Host", "127.0.0.1:8080"}, {"Content-Type", "application/json"}, {"Content-Length", "70000"}};
    ASSERT_TRUE(refusal(rules, request));
    EXPECT_EQ(refusal(rules, request)->status, 413);
}

}  // namespace
}  // namespace robocomm::console
