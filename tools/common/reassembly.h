// The robot's frames put back together into whole messages, apart from the
// socket that brought them: the link feeds it what the robot sent, and so
// can a test or a fuzzer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace robocomm::tools {

// One whole message from the robot, its payload as it travelled.
struct Message {
    uint8_t code;
    uint8_t kind;
    std::string payload;
};

class Reassembly {
public:
    // The bytes the frame at the front of `buffered` takes in all, header
    // included (10 + up to 32768); `buffered` holds at least its header.
    // Throws Failure(BadData) for a header that announces a message larger
    // than any robot sends.
    static size_t frameSize(const std::string& buffered);

    // Takes one whole frame (frameSize bytes); the message once its last
    // part came, nullopt while parts are missing.
    std::optional<Message> add(const std::string& frame);

private:
    // Messages of several frames under way, by code and kind.
    std::map<uint16_t, std::string> partials_;
};

}  // namespace robocomm::tools
