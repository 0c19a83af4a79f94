#include "console/teleop_api.h"

#include <httplib.h>

#include <cmath>
#include <utility>

#include "common/exchange.h"
#include "common/failure.h"
#include "common/json_text.h"
#include "common/session.h"
#include "common/vocabulary.h"
#include "console/events.h"
#include "console/parameters.h"
#include "console/replies.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// How often the dead man's switch is looked at: a silent page is stopped
// between kFreshFor and kFreshFor + kTickEvery after its last word.
constexpr Millis kTickEvery{50};

// Why the page let go, in the words of its requests.
const std::pair<const char*, StopCause> kPageCauses[] = {
    {"released", StopCause::Released},       {"focus-lost", StopCause::FocusLost},
    {"tab-hidden", StopCause::TabHidden},    {"page-closed", StopCause::PageClosed},
    {"stream-lost", StopCause::StreamLost},
};

StopCause pageCause(const Json::Value& reason) {
    std::string known;
    for (const auto& [word, cause] : kPageCauses) {
        if (reason.isString() && reason.asString() == word) return cause;
        known += std::string(known.empty() ? "" : ", ") + word;
    }
    throw Failure(Exit::Usage, "\"reason\" is one of " + known);
}

double velocityPart(const Json::Value& body, const char* name, const char* unit) {
    const Json::Value& value = body[name];
    if (!value.isNumeric() || value.isBool() || !std::isfinite(value.asDouble()))
        throw Failure(Exit::Usage, std::string("\"") + name + "\" must be a number in " + unit);
    return value.asDouble();
}

void teleopRoute(Teleop& teleop, const httplib::Request& req, httplib::Response& res) {
    const Json::Value body = jsonBody(req.body);
    if (!body.isObject()) throw Failure(Exit::Usage, "the body must be {\"linear\": m/s, \"angular\": rad/s}");
    const Velocity wanted{velocityPart(body, "linear", "m/s"), velocityPart(body, "angular", "rad/s")};
    if (!body.isMember("reason")) {
        teleop.drive(wanted);
    } else if (wanted.zero()) {
        teleop.stop(pageCause(body["reason"]));
    } else {
        throw Failure(Exit::Usage, "a reason comes with zero velocity only");
    }
    reply(res, 200, teleop.state());
}

}  // namespace

void SessionVelocitySink::send(const Velocity& velocity, Settled settled) {
    const CommandSpec& command = commandFor(CommandKind::Set, "motor-manual-vw");
    const std::string linear = numberText(velocity.linear), angular = numberText(velocity.angular);
    const std::string document = requestDocument(command, {linear, angular});
    session_.post(
        [this, &command, document, linear, angular](Link& link) {
            if (refused(session_.exchange(link, command, document)))
                throw Failure(Exit::Failed, "the robot refused " + linear + " m/s, " + angular + " rad/s");
        },
        std::move(settled));
}

TeleopDesk::TeleopDesk(Session& session, EventHub& events, const TeleopLimits& limits)
    : sink_(session),
      teleop_(limits, sink_, [&events](const Json::Value& state) { events.publish("teleop", state, true); }) {
    ticker_ = std::thread([this] { tickUntilStopped(); });
}

TeleopDesk::~TeleopDesk() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    ticker_.join();
    teleop_.finish();
}

void TeleopDesk::tickUntilStopped() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_for(lock, kTickEvery, [this] { return stopping_; })) {
        lock.unlock();
        teleop_.tick();
        lock.lock();
    }
}

void TeleopDesk::serve(httplib::Server& server) {
    server.Post("/api/teleop", [this](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { teleopRoute(teleop_, req, res); });
    });
}

}  // namespace robocomm::console
