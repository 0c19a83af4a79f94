// One connection to the MQTT broker over libmosquitto's C API, with its
// own network thread: the bridge keeps one per vehicle (VDA 5050 6.14), a
// console one for the fleet it watches. It reconnects with back-off by
// itself; on every connection it subscribes again and tells its owner.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

struct mosquitto;
struct mosquitto_message;

namespace robocomm::tools {

struct BrokerOptions {
    std::string host = "127.0.0.1";
    // 0: 1883, or 8883 with TLS.
    uint16_t port = 0;
    std::string user;
    std::string password;
    // A CA certificate file switches TLS on.
    std::string caFile;
    // The broker takes the robot for gone after 1.5 keep-alives of silence.
    int keepAliveSeconds = 10;
};

// Once per process, before the first MqttLink and after the last.
void startMqtt();
void stopMqtt();

class MqttLink {
public:
    // What the broker publishes when the connection breaks; none when
    // `topic` is empty.
    struct Will {
        std::string topic;
        std::string payload;
    };
    struct Handlers {
        // On the network thread, after each successful connection.
        std::function<void()> connected;
        std::function<void(const std::string& topic, const std::string& payload)> message;
    };
    // Throws Failure(Usage) for options libmosquitto refuses (a CA file it
    // cannot read).
    MqttLink(const BrokerOptions& broker, const std::string& clientId, const Will& will,
             std::vector<std::string> subscriptions, Handlers handlers);
    // Connects in the background, from now on calling the handlers.
    void start();
    ~MqttLink();
    MqttLink(const MqttLink&) = delete;
    MqttLink& operator=(const MqttLink&) = delete;

    // Queued for the broker; false when the connection is down (QoS 0 is
    // then dropped: the next state or position replaces it).
    bool publish(const std::string& topic, const std::string& payload, int qos, bool retain);
    // Publishes (QoS 1) and waits until the broker has it, at most `patience`.
    bool publishAndWait(const std::string& topic, const std::string& payload, bool retain,
                        std::chrono::milliseconds patience);
    // An orderly goodbye: the broker drops the will.
    void disconnect();

private:
    static void onConnect(mosquitto* client, void* self, int rc);
    static void onMessage(mosquitto* client, void* self, const mosquitto_message* message);
    static void onPublish(mosquitto* client, void* self, int mid);

    mosquitto* client_ = nullptr;
    // Set once the network thread runs. Until then libmosquitto writes a
    // publish to the socket from the caller's thread, into the connection
    // (or the TLS handshake) that start() is making on its own: the broker
    // then drops the connection as a protocol error. Publishing is refused
    // meanwhile; the owner publishes anew on connection.
    std::atomic<bool> running_{false};
    const BrokerOptions broker_;
    const std::vector<std::string> subscriptions_;
    const Handlers handlers_;
    std::mutex mutex_;
    std::condition_variable delivered_;
    std::set<int> acknowledged_;
};

}  // namespace robocomm::tools
