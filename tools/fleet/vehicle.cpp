#include "fleet/vehicle.h"

#include <iostream>

#include "common/exchange.h"
#include "common/failure.h"
#include "common/json_text.h"
#include "common/vocabulary.h"
#include "fleet/documents.h"

namespace robocomm::fleet {

using namespace robocomm::tools;

SessionPlan fleetPlan() {
    SessionPlan plan;
    plan.tool = "the fleet bridge";
    plan.identity = {"robot-info", "error-list"};
    // The pose every other poll, so that visualization moves smoothly; the
    // rest changes slowly.
    plan.polls = {"all-moving-info-v2", "battery-status-v2", "all-moving-info-v2", "robot-status",
                  "all-moving-info-v2", "robot-speed",       "all-moving-info-v2", "error-list"};
    // The link's own pause between frames (150 ms) paces the polls: about
    // three positions a second.
    plan.pollGap = Millis(0);
    // A robot that is away or held by another client is tried again after
    // 1 s, then less and less often, up to every 30 s.
    plan.reconnectPause = Millis(1000);
    plan.reconnectPauseLimit = Millis(30000);
    return plan;
}

Vehicle::Vehicle(const VehicleSettings& settings, const RobotCodes& codes)
    : settings_(settings),
      codes_(codes),
      headers_(settings.identity),
      order_(*this, actions_, errors_, codes, settings.order),
      instant_(*this, actions_, errors_, order_, codes,
               {[this] { publishState(true); }, [this] { publishFactsheet(); }}) {
    const Identity& id = settings_.identity;
    MqttLink::Handlers handlers{[this] { brokerConnected(); },
                                [this](const std::string& topic, const std::string& payload) {
                                    brokerMessage(topic, payload);
                                }};
    const std::string will = compactJson(headers_.stamp(topicOf(id, "connection"), connectionBody("CONNECTIONBROKEN"),
                                                        WallClock::now()));
    mqtt_ = std::make_unique<MqttLink>(settings_.broker, clientIdOf(id), MqttLink::Will{topicOf(id, "connection"), will},
                                       std::vector<std::string>{topicOf(id, "order"), topicOf(id, "instantActions")},
                                       handlers);
    session_ = std::make_unique<Session>(settings_.link, fleetPlan(), static_cast<SessionListener&>(*this));
    mqtt_->start();
}

Vehicle::~Vehicle() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closing_ = true;
    }
    session_.reset();
    mqtt_.reset();
}

void Vehicle::say(const std::string& line) const {
    const std::string text = "robocomm-fleet: " + settings_.identity.serial + ": " + line + "\n";
    std::cerr << text << std::flush;
}

void Vehicle::publish(const std::string& name, const Json::Value& body, WallClock::time_point at, int qos,
                      bool retain) {
    const std::string topic = topicOf(settings_.identity, name);
    mqtt_->publish(topic, compactJson(headers_.stamp(topic, body, at)), qos, retain);
}

void Vehicle::publishState(bool always) {
    const Json::Value state =
        stateBody({robot_, order_, actions_, errors_, codes_, settings_.mapId, instant_.paused()});
    Json::Value events = stateEvents(state);
    if (!always && events == lastEvents_) return;
    lastEvents_ = std::move(events);
    lastState_ = WallClock::now();
    publish("state", state, lastState_, 0, false);
}

void Vehicle::publishConnection() {
    publish("connection", connectionBody(robotUp_ ? "ONLINE" : "CONNECTIONBROKEN"), WallClock::now(), 1, true);
}

void Vehicle::publishFactsheet() {
    publish("factsheet", factsheetBody(codes_, settings_.visualizationInterval.count() / 1000.0), WallClock::now(), 0,
            true);
}

void Vehicle::brokerConnected() {
    std::lock_guard<std::mutex> lock(mutex_);
    say("on the broker");
    publishConnection();
    publishFactsheet();
    publishState(true);
}

void Vehicle::brokerMessage(const std::string& topic, const std::string& payload) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (closing_) return;
    Json::Value message;
    std::string errors;
    const bool isOrder = topic == topicOf(settings_.identity, "order");
    if (!parseJson(payload, message, errors)) {
        errors_.raise("validationError", "WARNING",
                      std::string(isOrder ? "order" : "instant actions") + " is not JSON: " + errors, {});
    } else {
        // The checks of the order and the actions read every field by its
        // type; a shape they missed must still cost only this message,
        // never the bridge and every other robot on it.
        try {
            if (isOrder) order_.receive(message, robot_.pose ? &*robot_.pose : nullptr);
            else instant_.receive(message, robot_.pose ? &*robot_.pose : nullptr);
        } catch (const std::exception& unreadable) {
            errors_.raise("validationError", "WARNING",
                          std::string(isOrder ? "order" : "instant actions") + " unreadable: " + unreadable.what(), {});
        }
    }
    settle();
}

void Vehicle::settle() {
    if (robot_.pose && !closing_) order_.advance(*robot_.pose, instant_.paused());
    publishState(false);
}

void Vehicle::tick() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (WallClock::now() - lastState_ >= settings_.stateInterval) publishState(true);
}

void Vehicle::goOffline(Millis patience) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closing_ = true;
    }
    const std::string topic = topicOf(settings_.identity, "connection");
    // Not under the lock: the broker's acknowledgement comes on the
    // network thread, which may be waiting for the lock with a message.
    mqtt_->publishAndWait(topic, compactJson(headers_.stamp(topic, connectionBody("OFFLINE"), WallClock::now())), true,
                          patience);
    mqtt_->disconnect();
}

void Vehicle::linkChanged(LinkState state, const std::string& reason) {
    std::lock_guard<std::mutex> lock(mutex_);
    // Retries repeat the same state: only a change is news.
    if (state == LinkState::Connecting || state == link_) return;
    link_ = state;
    robotUp_ = state == LinkState::Up;
    say(robotUp_ ? "robot link up" : std::string("robot link ") + linkStateName(state) + ": " + reason);
    if (!closing_) publishConnection();
}

void Vehicle::answered(const std::string& name, const Json::Value& body) {
    std::lock_guard<std::mutex> lock(mutex_);
    // A site's config that names the wrong address publishes one robot
    // under another's serial: say so on every connection.
    const Json::Value& serial = memberAt(body, {"serialNumber"});
    if (name == "robot-info" && serial.isString() && serial.asString() != settings_.identity.serial)
        say("warning: the robot at " + settings_.link.host + ":" + std::to_string(settings_.link.port) +
            " reports serial number " + serial.asString());
    const WallClock::time_point at = WallClock::now();
    if (robot_.read(name, body, at) && at - lastVisualization_ >= settings_.visualizationInterval) {
        lastVisualization_ = at;
        publish("visualization", visualizationBody(robot_, settings_.mapId), at, 0, false);
    }
    settle();
}

void Vehicle::pushed(const Message& message, const Json::Value& document) {
    if (message.code != kErrorCode) return;
    std::lock_guard<std::mutex> lock(mutex_);
    robot_.addErrors(memberAt(document, {"Emergency", "Send", "ErrorList"}));
    settle();
}

void Vehicle::carryOut(const ActionMapping& mapping, const std::vector<std::string>& arguments, Done done) {
    // While the vehicle goes, its session settles requests on the spot,
    // which would need the lock held here: start nothing then.
    if (closing_) return;
    const CommandSpec& command = commandFor(CommandKind::Set, mapping.command);
    session_->post(
        [this, &command, arguments](Link& link) {
            const Json::Value answer = session_->exchange(link, command, requestDocument(command, arguments));
            if (refused(answer)) throw Failure(Exit::Failed, "the robot refused " + kebabName(command));
        },
        [this, done](std::exception_ptr failure) {
            std::lock_guard<std::mutex> lock(mutex_);
            done(failureText(failure));
            // The order drives on with the robot's next pose, not from here:
            // a move that failed is not tried again until the robot answers.
            publishState(false);
        });
}

}  // namespace robocomm::fleet
