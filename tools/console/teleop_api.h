// Driving by hand as the console serves it: POST /api/teleop, the velocity
// carried to the robot through the console's session, the dead man's timer,
// and the state on the event stream ("teleop", see Teleop::state).
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "console/teleop.h"

namespace httplib {
class Server;
}

namespace robocomm::tools {
class Session;
}  // namespace robocomm::tools

namespace robocomm::console {

class EventHub;

// MotorManual_VW through the session, queued behind the polls like every
// request; a refusal by the robot counts as a failure.
class SessionVelocitySink : public VelocitySink {
public:
    explicit SessionVelocitySink(tools::Session& session) : session_(session) {}
    void send(const Velocity& velocity, Settled settled) override;

private:
    tools::Session& session_;
};

// Owns the Teleop and the thread that ticks it. Destroyed before the
// session: it tells the robot zero if the robot may still be moving.
class TeleopDesk {
public:
    TeleopDesk(tools::Session& session, EventHub& events, const TeleopLimits& limits);
    ~TeleopDesk();
    TeleopDesk(const TeleopDesk&) = delete;
    TeleopDesk& operator=(const TeleopDesk&) = delete;

    // POST /api/teleop with {"linear": 0.2, "angular": -0.5} (m/s, rad/s) to
    // drive, or zero velocity with "reason": "released", "focus-lost",
    // "tab-hidden", "page-closed" or "stream-lost". Answers the state.
    void serve(httplib::Server& server);

private:
    void tickUntilStopped();

    SessionVelocitySink sink_;
    Teleop teleop_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::thread ticker_;
};

}  // namespace robocomm::console
