// A stand-in robot on an ephemeral loopback port, for the client's own
// checks: it takes one connection, waits for the first command and plays a
// script of raw bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "link/frame.h"

namespace e2e {

class FakeRobot {
public:
    // `script` writes its answer to the connected socket.
    explicit FakeRobot(std::function<void(int fd)> script);
    ~FakeRobot();
    FakeRobot(const FakeRobot&) = delete;
    FakeRobot& operator=(const FakeRobot&) = delete;

    uint16_t port() const { return port_; }

private:
    void serve(const std::function<void(int fd)>& script);
    int listener_ = -1;
    uint16_t port_ = 0;
    std::thread thread_;
};

// One chunked-layout frame, header and payload.
std::string chunkFrame(uint8_t code, uint8_t kind, uint32_t totalSize, uint16_t parts, uint16_t part,
                       const std::string& payload);
void sendAll(int fd, const std::string& bytes);
// A loopback port that nothing listens on.
uint16_t unusedPort();

}  // namespace e2e
