#include "common/mqtt_link.h"

#include <mosquitto.h>

#include "common/failure.h"

namespace robocomm::tools {

namespace {

// Back-off between attempts while the broker is away: 1 s doubling to 30 s.
constexpr unsigned kReconnectFirst = 1;
constexpr unsigned kReconnectLast = 30;

Failure brokerFailure(const std::string& what, int rc) {
    return Failure(Exit::Usage, what + ": " + mosquitto_strerror(rc));
}

}  // namespace

void startMqtt() { mosquitto_lib_init(); }
void stopMqtt() { mosquitto_lib_cleanup(); }

MqttLink::MqttLink(const BrokerOptions& broker, const std::string& clientId, const Will& will,
                   std::vector<std::string> subscriptions, Handlers handlers)
    : broker_(broker), subscriptions_(std::move(subscriptions)), handlers_(std::move(handlers)) {
    client_ = mosquitto_new(clientId.c_str(), true, this);
    if (!client_) throw Failure(Exit::Failed, "cannot make an MQTT client for " + clientId);
    mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    int rc = MOSQ_ERR_SUCCESS;
    if (!will.topic.empty())
        rc = mosquitto_will_set(client_, will.topic.c_str(), static_cast<int>(will.payload.size()), will.payload.data(),
                                1, true);
    if (rc == MOSQ_ERR_SUCCESS && !broker.user.empty())
        rc = mosquitto_username_pw_set(client_, broker.user.c_str(),
                                       broker.password.empty() ? nullptr : broker.password.c_str());
    if (rc == MOSQ_ERR_SUCCESS && !broker.caFile.empty())
        rc = mosquitto_tls_set(client_, broker.caFile.c_str(), nullptr, nullptr, nullptr, nullptr);
    if (rc != MOSQ_ERR_SUCCESS) {
        mosquitto_destroy(client_);
        throw brokerFailure("broker options", rc);
    }
    mosquitto_reconnect_delay_set(client_, kReconnectFirst, kReconnectLast, true);
    mosquitto_connect_callback_set(client_, onConnect);
    mosquitto_message_callback_set(client_, onMessage);
    mosquitto_publish_callback_set(client_, onPublish);
}

void MqttLink::start() {
    const uint16_t port = broker_.port ? broker_.port : broker_.caFile.empty() ? 1883 : 8883;
    // A broker that is not there yet is no failure: the network thread
    // keeps trying with back-off.
    mosquitto_connect_async(client_, broker_.host.c_str(), port, broker_.keepAliveSeconds);
    const int rc = mosquitto_loop_start(client_);
    if (rc != MOSQ_ERR_SUCCESS) throw brokerFailure("MQTT network thread", rc);
    running_ = true;
}

MqttLink::~MqttLink() {
    // Without an orderly disconnect, stopping is forced: the will then stands.
    mosquitto_loop_stop(client_, true);
    mosquitto_destroy(client_);
}

void MqttLink::onConnect(mosquitto* client, void* self, int rc) {
    if (rc != 0) return;
    auto* link = static_cast<MqttLink*>(self);
    // The network thread may connect before start() has seen it run, and
    // the owner publishes on every connection.
    link->running_ = true;
    for (const std::string& topic : link->subscriptions_) mosquitto_subscribe(client, nullptr, topic.c_str(), 0);
    if (link->handlers_.connected) link->handlers_.connected();
}

void MqttLink::onMessage(mosquitto*, void* self, const mosquitto_message* message) {
    auto* link = static_cast<MqttLink*>(self);
    if (!link->handlers_.message || !message->topic) return;
    link->handlers_.message(message->topic,
                            std::string(static_cast<const char*>(message->payload), static_cast<size_t>(message->payloadlen)));
}

void MqttLink::onPublish(mosquitto*, void* self, int mid) {
    auto* link = static_cast<MqttLink*>(self);
    {
        std::lock_guard<std::mutex> lock(link->mutex_);
        // Only publishAndWait looks for its message id, right away; the
        // rest (every QoS 0 message) need not pile up.
        if (link->acknowledged_.size() > 256) link->acknowledged_.clear();
        link->acknowledged_.insert(mid);
    }
    link->delivered_.notify_all();
}

bool MqttLink::publish(const std::string& topic, const std::string& payload, int qos, bool retain) {
    return running_ && mosquitto_publish(client_, nullptr, topic.c_str(), static_cast<int>(payload.size()),
                                         payload.data(), qos, retain) == MOSQ_ERR_SUCCESS;
}

bool MqttLink::publishAndWait(const std::string& topic, const std::string& payload, bool retain,
                              std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    int mid = 0;
    if (!running_ || mosquitto_publish(client_, &mid, topic.c_str(), static_cast<int>(payload.size()), payload.data(),
                                       1, retain) != MOSQ_ERR_SUCCESS)
        return false;
    const bool done = delivered_.wait_for(lock, patience, [this, mid] { return acknowledged_.count(mid) > 0; });
    acknowledged_.erase(mid);
    return done;
}

void MqttLink::disconnect() { mosquitto_disconnect(client_); }

}  // namespace robocomm::tools
