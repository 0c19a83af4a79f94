// Driving by hand: the velocity an operator holds on the page, carried to
// the robot as MotorManual_VW (code 59: mS in m/s, radS in rad/s), with a
// dead man's switch on the console's side. While a key or the pad is held
// the page says what it wants every ~150 ms; when it lets go it says why,
// and when it falls silent for kFreshFor the console stops the robot itself:
// the robot never keeps driving because a browser went away.
//
// A plain state machine: the clock and the way to the robot are handed in,
// so that tests drive it without a robot, a browser or waiting.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "common/connection.h"

namespace robocomm::console {

using tools::Clock;
using tools::Millis;

// A page that said nothing for this long has gone: the console sends zero.
constexpr Millis kFreshFor{500};
// The least time between two driving commands, so that the session's polls
// keep about half the link while the operator drives; the latest wanted
// velocity is the one sent. A stop goes at once.
constexpr Millis kSendGap{250};
// An unchanged driving command is told the robot again this often, which
// makes good a command the robot lost.
constexpr Millis kResend{500};
// After a command that did not reach the robot (the link down, the robot
// held by another client) the next try waits this long.
constexpr Millis kRetry{500};

// The robot reports no maximum speed (it takes one, set max-driving-speed,
// and tells none), so the limits default to a walking pace.
constexpr double kDefaultMaxLinear = 0.3;   // m/s
constexpr double kDefaultMaxAngular = 0.8;  // rad/s

struct Velocity {
    double linear = 0;   // m/s, forward positive
    double angular = 0;  // rad/s, counter-clockwise (to the left) positive

    bool zero() const { return linear == 0 && angular == 0; }
    bool operator==(const Velocity& other) const { return linear == other.linear && angular == other.angular; }
    bool operator!=(const Velocity& other) const { return !(*this == other); }
};

struct TeleopLimits {
    double linear = kDefaultMaxLinear;
    double angular = kDefaultMaxAngular;

    // Each part within [-limit, limit]: {0.5, -2} -> {0.3, -0.8}.
    Velocity clamp(const Velocity& wanted) const;
};

// Why the robot is not driven.
enum class StopCause {
    NotYet,      // "not driven yet"
    Released,    // "released": the operator let go (or a script sent zero)
    FocusLost,   // "focus lost": the map or the window lost the keyboard
    TabHidden,   // "tab hidden"
    PageClosed,  // "page closed"
    StreamLost,  // "event stream lost": the page no longer hears the console
    Stale,       // "no fresh command for 500 ms": the console's own switch
    Stopping,    // "console stopping"
};
// The cause as the page shows it: "focus lost".
std::string causeText(StopCause cause);

// The way to the robot: sends one velocity, then calls `settled` once, on
// any thread (the caller's included), with null or what went wrong.
class VelocitySink {
public:
    virtual ~VelocitySink() = default;
    using Settled = std::function<void(std::exception_ptr)>;
    virtual void send(const Velocity& velocity, Settled settled) = 0;
};

// Safe from any thread. At most one command is on its way to the robot;
// what the page wants meanwhile replaces what it wanted before.
class Teleop {
public:
    using Show = std::function<void(const Json::Value&)>;
    using Now = std::function<Clock::time_point()>;

    // `show` hears every change of state() (see there); `robot` must settle
    // every send and outlive the Teleop.
    Teleop(const TeleopLimits& limits, VelocitySink& robot, Show show, Now now = Clock::now);
    // Waits for the command on its way, which refers to this object.
    ~Teleop();
    Teleop(const Teleop&) = delete;
    Teleop& operator=(const Teleop&) = delete;

    // A fresh word from the page: drive at `wanted`, clamped to the limits;
    // zero stops (released).
    void drive(const Velocity& wanted);
    void stop(StopCause cause);
    // The dead man's switch and the resends: call every few tens of ms.
    void tick();
    // At the console's end: stops, tells the robot zero if it may be
    // moving, and waits until that went (or failed); drives no more.
    void finish();

    // {"state": "driving", "reason": "", "linear": 0.3, "angular": 0,
    //  "maxLinear": 0.3, "maxAngular": 0.8}. Driving means the robot took a
    // command to move that is still wanted; stopped comes with the reason.
    Json::Value state() const;

private:
    using Lock = std::unique_lock<std::mutex>;

    bool due(bool force) const;
    // Sends what is due, unlocking for the send (which may settle at once).
    void sendIfDue(Lock& lock, bool force = false);
    void settle(const Velocity& sent, std::exception_ptr failure);
    void halt(StopCause cause);
    Json::Value stateLocked() const;
    void showIfChanged();

    const TeleopLimits limits_;
    VelocitySink& robot_;
    const Show show_;
    const Now now_;

    mutable std::mutex mutex_;
    std::condition_variable settled_;
    // What the robot should do now: zero while stopped.
    Velocity target_;
    // What the robot last took; unknown after a command that failed, so
    // that zero is owed until one is taken.
    std::optional<Velocity> taken_ = Velocity{};
    bool onTheWay_ = false;
    bool lastFailed_ = false;
    bool finishing_ = false;
    Clock::time_point freshAt_{};
    Clock::time_point sentAt_{};
    std::string reason_;
    Json::Value shown_;
};

}  // namespace robocomm::console
