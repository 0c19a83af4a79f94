// One TCP connection to the robot. Every wait is bounded by a deadline, so
// a silent or vanished robot can never hang the client.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace robocomm::tools {

using Clock = std::chrono::steady_clock;
using Millis = std::chrono::milliseconds;

class Deadline {
public:
    static Deadline after(Millis wait) { return Deadline(Clock::now() + wait); }
    bool passed() const { return Clock::now() >= at_; }
    // Milliseconds left, rounded up so that a poll never spins at zero.
    int remainingMs() const;

private:
    explicit Deadline(Clock::time_point at) : at_(at) {}
    Clock::time_point at_;
};

class Connection {
public:
    // Tries every address of the host, IPv4 or IPv6. Throws
    // Failure(Unreachable) when none connects before `patience` ends.
    Connection(const std::string& host, uint16_t port, Millis patience);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Writes every byte, or throws (Timeout when the robot stops reading).
    void write(const char* data, size_t size, Deadline deadline);
    void write(const std::string& bytes, Deadline deadline) { write(bytes.data(), bytes.size(), deadline); }
    // True once at least n bytes are buffered; false if the deadline passes first.
    // Throws Failure(Unreachable) when the robot closes the connection.
    bool await(size_t n, Deadline deadline);
    // The buffered bytes, oldest first.
    const std::string& buffered() const { return inbox_; }
    std::string take(size_t n);
    // Whether the robot has sent a single byte on this connection.
    bool heard() const { return heard_; }

private:
    // Waits for the socket to become ready for `events`; false at the deadline.
    bool ready(short events, Deadline deadline) const;
    int fd_ = -1;
    std::string inbox_;
    bool heard_ = false;
};

}  // namespace robocomm::tools
