// A whole site on loopback for the fleet bridge's end-to-end tests: a real
// mosquitto broker on a free port, demo robots on free ports, the bridge,
// and an MQTT client that records everything the bridge publishes. Every
// child dies with the test (and is killed when its owner goes); every wait
// is bounded.
#pragma once

#include <json/value.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/temp_dir.h"

struct mosquitto;

namespace fleet_e2e {

using Seconds = std::chrono::seconds;

uint16_t freePort();

// A program started with its arguments, output into `log`.
class Child {
public:
    Child(const std::vector<std::string>& command, const std::string& log);
    ~Child() { stop(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    void signal(int number) const;
    // SIGTERM, then SIGKILL after 5 s; the exit status, or -1 when killed.
    int stop();

private:
    pid_t pid_ = -1;
    int status_ = -1;
};

struct BrokerSecurity {
    std::string user;
    std::string password;
    std::string caFile;  // the client's trust; the broker's files lie beside it
};

class Broker {
public:
    // A plain broker, or one with TLS and a password file made in `folder`.
    Broker(const std::string& folder, bool secured);
    uint16_t port() const { return port_; }
    const BrokerSecurity& security() const { return security_; }
    void start();
    void stop() { process_.reset(); }

private:
    std::string folder_;
    uint16_t port_;
    BrokerSecurity security_;
    std::unique_ptr<Child> process_;
};

struct Received {
    std::string topic;
    Json::Value document;
    bool retained;
};

// An MQTT client of its own: records every message under uagv/#, sends
// orders and instant actions.
class Observer {
public:
    Observer(uint16_t port, const BrokerSecurity& security = {});
    ~Observer();
    void publish(const std::string& topic, const Json::Value& document);
    // True once a message after the first `from` satisfies `test`, within `wait`.
    bool await(const std::function<bool(const Received&)>& test, Seconds wait = Seconds(20), size_t from = 0);
    // How many messages came so far: a `from` for await.
    size_t mark();
    std::vector<Received> received();
    // The latest message on the topic, null when none came.
    Json::Value latest(const std::string& topic);

private:
    mosquitto* client_;
    std::mutex mutex_;
    std::vector<Received> received_;
};

// Every message the bridge published in `messages` against the VDA 5050
// schemas: empty when all validate, else what failed. `skipped` says why
// nothing was checked (no schemas on this machine).
std::string schemaProblems(const std::vector<Received>& messages, const std::string& folder, std::string& skipped);

}  // namespace fleet_e2e
