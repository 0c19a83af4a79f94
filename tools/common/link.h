// The client's side of the robot link: frames, the payload cipher, and the
// pacing the robot's receive loop needs (it takes each socket read as one
// frame, so frames must not run together).
#pragma once

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "common/connection.h"
#include "common/failure.h"
#include "common/json_text.h"
#include "common/reassembly.h"
#include "link/frame.h"

namespace robocomm::tools {

struct LinkOptions {
    std::string host = "127.0.0.1";
    uint16_t port = 10001;
    // Encryption switched off on the robot (APISetEnc(0)).
    bool plain = false;
    // Empty: the pass phrase built into the library.
    std::string passPhrase;
    // Longest silence accepted from the robot, and the connect patience.
    Millis timeout{5000};
};

class Link {
public:
    explicit Link(const LinkOptions& options);

    const LinkOptions& options() const { return options_; }

    // Enciphers the document (unless plain) and sends it as one frame. The
    // robot delivers single-frame commands only.
    void sendCommand(uint8_t code, const std::string& json);
    // One frame exactly as given.
    void sendFrame(const std::string& frame);
    // Raw stream bytes that may run together with what precedes them.
    void sendRaw(const char* data, size_t size);

    // Header of the next frame, left buffered; nullopt at the deadline.
    std::optional<FrameHeader> peekHeader(Deadline deadline);
    // The next whole message in the chunked layout; nullopt at the deadline.
    std::optional<Message> receive(Deadline deadline);
    // The next message carrying `code`, handing every other to `passedBy`
    // (when given). Throws Failure(Timeout) when it has not come within `timeout`.
    Message awaitCode(uint8_t code, const std::function<void(const Message&)>& passedBy = {});
    // Exactly n raw bytes (stream layout), reporting the count so far.
    std::string receiveBytes(size_t n, const std::function<void(size_t)>& progress = {});

    // The payload as plain text; throws Failure(BadData) when it does not decipher.
    std::string open(const std::string& payload, uint8_t code);
    // The payload's JSON object; throws Failure(BadData).
    Json::Value document(const Message& message);

    // Whether the robot has sent anything at all on this connection.
    bool heard() const { return connection_.heard(); }

    // Failure(Timeout) for a wait that ran out, saying so when the robot has
    // sent nothing at all on this connection.
    Failure silence(const std::string& what) const;

private:
    void waitForPause();

    LinkOptions options_;
    Connection connection_;
    unsigned char key_[16];
    unsigned char iv_[16];
    Clock::time_point lastFrame_{};
    Reassembly reassembly_;
};

std::string frameBytes(const FrameHeader& header, const std::string& payload);

// The deciphered text of message `code` as one JSON object, the only shape
// the robot sends; throws Failure(BadData) in the tools' words for anything
// else (`plain`: the link runs without encryption, which a non-JSON message
// may hint is wrong).
Json::Value robotDocument(const std::string& text, uint8_t code, bool plain);

}  // namespace robocomm::tools
