#include "console/teleop.h"

#include <algorithm>
#include <cmath>

#include "common/failure.h"

namespace robocomm::console {

namespace {

double within(double value, double limit) { return std::isfinite(value) ? std::clamp(value, -limit, limit) : 0; }

}  // namespace

Velocity TeleopLimits::clamp(const Velocity& wanted) const {
    return {within(wanted.linear, linear), within(wanted.angular, angular)};
}

std::string causeText(StopCause cause) {
    switch (cause) {
        case StopCause::NotYet: return "not driven yet";
        case StopCause::Released: return "released";
        case StopCause::FocusLost: return "focus lost";
        case StopCause::TabHidden: return "tab hidden";
        case StopCause::PageClosed: return "page closed";
        case StopCause::StreamLost: return "event stream lost";
        case StopCause::Stale: return "no fresh command for " + std::to_string(kFreshFor.count()) + " ms";
        case StopCause::Stopping: return "console stopping";
    }
    return "";
}

Teleop::Teleop(const TeleopLimits& limits, VelocitySink& robot, Show show, Now now)
    : limits_(limits), robot_(robot), show_(std::move(show)), now_(std::move(now)), reason_(causeText(StopCause::NotYet)) {
    std::lock_guard<std::mutex> lock(mutex_);
    showIfChanged();
}

// The command on its way settles through a callback that refers to this
// object. The sink settles every send (the session settles every job, each
// bounded by the robot timeout, and fails what is left when it stops), so
// this wait ends.
Teleop::~Teleop() {
    Lock lock(mutex_);
    settled_.wait(lock, [this] { return !onTheWay_; });
}

void Teleop::drive(const Velocity& wanted) {
    Lock lock(mutex_);
    if (finishing_) return;
    freshAt_ = now_();
    const Velocity clamped = limits_.clamp(wanted);
    if (clamped.zero()) halt(StopCause::Released);
    else target_ = clamped;
    showIfChanged();
    sendIfDue(lock);
}

void Teleop::stop(StopCause cause) {
    Lock lock(mutex_);
    if (finishing_) return;
    halt(cause);
    showIfChanged();
    sendIfDue(lock);
}

void Teleop::tick() {
    Lock lock(mutex_);
    if (finishing_) return;
    if (!target_.zero() && now_() - freshAt_ >= kFreshFor) halt(StopCause::Stale);
    showIfChanged();
    sendIfDue(lock);
}

void Teleop::finish() {
    Lock lock(mutex_);
    finishing_ = true;
    halt(StopCause::Stopping);
    showIfChanged();
    settled_.wait(lock, [this] { return !onTheWay_; });
    if (taken_ == Velocity{}) return;
    // One try, whatever the pause after a failure says: the console ends.
    sendIfDue(lock, true);
    lock.lock();
    settled_.wait(lock, [this] { return !onTheWay_; });
}

Json::Value Teleop::state() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return stateLocked();
}

bool Teleop::due(bool force) const {
    if (onTheWay_) return false;
    const Millis since = std::chrono::duration_cast<Millis>(now_() - sentAt_);
    if (taken_ == target_) return !target_.zero() && since >= kResend;
    if (force) return true;
    if (lastFailed_ && since < kRetry) return false;
    return target_.zero() || since >= kSendGap;
}

void Teleop::sendIfDue(Lock& lock, bool force) {
    if (!due(force)) return;
    onTheWay_ = true;
    sentAt_ = now_();
    const Velocity velocity = target_;
    // A sink may settle at once, on this thread, and settling takes the lock.
    lock.unlock();
    robot_.send(velocity, [this, velocity](std::exception_ptr failure) { settle(velocity, failure); });
}

void Teleop::settle(const Velocity& sent, std::exception_ptr failure) {
    Lock lock(mutex_);
    onTheWay_ = false;
    lastFailed_ = failure != nullptr;
    if (failure) {
        taken_.reset();
        reason_ = tools::failureText(failure);
    } else {
        taken_ = sent;
    }
    showIfChanged();
    settled_.notify_all();
    if (!finishing_) sendIfDue(lock);
}

void Teleop::halt(StopCause cause) {
    target_ = Velocity{};
    reason_ = causeText(cause);
}

Json::Value Teleop::stateLocked() const {
    const bool driving = !target_.zero() && taken_ && !taken_->zero();
    Json::Value state;
    state["state"] = driving ? "driving" : "stopped";
    state["reason"] = driving ? "" : reason_;
    state["linear"] = driving ? taken_->linear : 0.0;
    state["angular"] = driving ? taken_->angular : 0.0;
    state["maxLinear"] = limits_.linear;
    state["maxAngular"] = limits_.angular;
    return state;
}

void Teleop::showIfChanged() {
    Json::Value now = stateLocked();
    if (now == shown_) return;
    shown_ = now;
    show_(now);
}

}  // namespace robocomm::console
