// A loopback TCP client of the library's server, speaking the frame format
// the way an operator application does. The socket code is plain POSIX so a
// fault in the library's own socket handling cannot hide behind it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "link/frame.h"

namespace robotest {

struct Frame {
    robocomm::FrameHeader header;
    std::string payload;
};

class LinkClient {
public:
    // Connects to 127.0.0.1:10001, retrying for up to 5 s while the server starts.
    LinkClient();
    ~LinkClient();
    LinkClient(const LinkClient&) = delete;
    LinkClient& operator=(const LinkClient&) = delete;

    bool connected() const;
    void close();
    // Local port of the connection, 0 when not connected.
    uint16_t localPort() const;

    // One write, then a pause so that the server reads it as one frame.
    void sendRaw(const std::string& bytes, std::chrono::milliseconds pause = std::chrono::milliseconds(150));
    // Header + payload in one write; total size = payload size.
    void sendFrame(uint8_t code, uint8_t kind, const std::string& payload, uint16_t totalParts = 1,
                   uint16_t partNumber = 1);
    // Enciphered with key/iv when enableEnc is set; one frame of kind 1.
    void sendCommand(uint8_t code, const std::string& json);

    // Next chunked-layout frame, or nullopt after the timeout.
    std::optional<Frame> readFrame(std::chrono::milliseconds timeout = std::chrono::seconds(3));
    // Payload of the next whole message with this code (others are skipped),
    // deciphered when enableEnc is set; nullopt after the timeout.
    std::optional<std::string> readMessage(uint8_t code, std::chrono::milliseconds timeout = std::chrono::seconds(5));
    // Up to n raw bytes, whatever arrived before the timeout.
    std::string readBytes(size_t n, std::chrono::milliseconds timeout = std::chrono::seconds(5));

private:
    using Clock = std::chrono::steady_clock;
    // Buffers bytes until `buffer_` holds n of them or the deadline passes.
    bool fill(size_t n, Clock::time_point deadline);

    int fd_ = -1;
    std::string buffer_;
};

}  // namespace robotest
