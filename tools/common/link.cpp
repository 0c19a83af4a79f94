#include "common/link.h"

#include <algorithm>
#include <sstream>
#include <thread>
#include <vector>

#include "common/decipher.h"
#include "common/failure.h"
#include "robocomm/security.h"

namespace robocomm::tools {

namespace {

// The robot polls its socket every 100 ms; a longer gap keeps two frames
// out of one read.
constexpr Millis kFramePause{150};
std::string seconds(Millis wait) {
    std::ostringstream text;
    text << static_cast<double>(wait.count()) / 1000.0 << " s";
    return text.str();
}

}  // namespace

std::string frameBytes(const FrameHeader& header, const std::string& payload) {
    std::string frame(kHeaderSize, '\0');
    writeHeader(header, reinterpret_cast<unsigned char*>(frame.data()));
    return frame + payload;
}

Link::Link(const LinkOptions& options)
    : options_(options), connection_(options.host, options.port, options.timeout) {
    generateKeyAndIV(options.passPhrase.empty() ? password : options.passPhrase, key_, iv_);
}

void Link::waitForPause() { std::this_thread::sleep_until(lastFrame_ + kFramePause); }

void Link::sendCommand(uint8_t code, const std::string& json) {
    std::string payload = json;
    if (!options_.plain) {
        std::vector<unsigned char> sealed;
        encryptData(json, sealed, key_, iv_);
        payload.assign(sealed.begin(), sealed.end());
    }
    if (payload.size() > kChunkPayload)
        throw Failure(Exit::Usage, "the command is " + std::to_string(payload.size()) +
                                       " bytes on the wire; the robot takes at most " +
                                       std::to_string(kChunkPayload) + " (one frame)");
    const FrameHeader header{static_cast<uint32_t>(payload.size()), 1, 1, code, 1};
    sendFrame(frameBytes(header, payload));
}

void Link::sendFrame(const std::string& frame) {
    waitForPause();
    connection_.write(frame, Deadline::after(options_.timeout));
    lastFrame_ = Clock::now();
}

void Link::sendRaw(const char* data, size_t size) {
    connection_.write(data, size, Deadline::after(options_.timeout));
    lastFrame_ = Clock::now();
}

std::optional<FrameHeader> Link::peekHeader(Deadline deadline) {
    if (!connection_.await(kHeaderSize, deadline)) return std::nullopt;
    return readHeader(reinterpret_cast<const unsigned char*>(connection_.buffered().data()));
}

std::optional<Message> Link::receive(Deadline deadline) {
    for (;;) {
        if (!connection_.await(kHeaderSize, deadline)) return std::nullopt;
        const size_t size = Reassembly::frameSize(connection_.buffered());
        if (!connection_.await(size, deadline)) return std::nullopt;
        if (auto message = reassembly_.add(connection_.take(size))) return message;
        // A message still under way resumes at the next call once the deadline passed.
        if (deadline.passed()) return std::nullopt;
    }
}

Failure Link::silence(const std::string& what) const {
    std::string text = what + " within " + seconds(options_.timeout);
    // The kernel accepts a second client into the listen backlog, where it
    // hears nothing until the robot's one client leaves.
    if (!connection_.heard())
        text += "; nothing at all came back: the robot may be serving another client (it serves one at a time)";
    return Failure(Exit::Timeout, text);
}

Message Link::awaitCode(uint8_t code, const std::function<void(const Message&)>& passedBy) {
    // One deadline for the whole wait: other messages do not extend it.
    const Deadline deadline = Deadline::after(options_.timeout);
    for (;;) {
        auto message = receive(deadline);
        if (!message) throw silence("no answer to command " + std::to_string(code));
        if (message->code == code) return std::move(*message);
        if (passedBy) passedBy(*message);
    }
}

std::string Link::receiveBytes(size_t n, const std::function<void(size_t)>& progress) {
    std::string bytes;
    bytes.reserve(n);
    while (bytes.size() < n) {
        if (!connection_.await(1, Deadline::after(options_.timeout)))
            throw Failure(Exit::Timeout, "the robot stopped sending after " + std::to_string(bytes.size()) + " of " +
                                             std::to_string(n) + " bytes");
        bytes += connection_.take(std::min(n - bytes.size(), connection_.buffered().size()));
        if (progress) progress(bytes.size());
    }
    return bytes;
}

std::string Link::open(const std::string& payload, uint8_t code) {
    if (options_.plain) return payload;
    const std::optional<std::string> text = decipher(payload, key_, iv_);
    if (!text || text->empty())
        throw Failure(Exit::BadData, "cannot decipher the robot's message " + std::to_string(code) +
                                         ": wrong pass phrase, or encryption is off on the robot (try --plain)");
    return *text;
}

Json::Value Link::document(const Message& message) {
    return robotDocument(open(message.payload, message.code), message.code, options_.plain);
}

Json::Value robotDocument(const std::string& text, uint8_t code, bool plain) {
    Json::Value root;
    std::string errors;
    if (!parseJson(text, root, errors)) {
        const char* hint = plain ? " (is encryption on at the robot? drop --plain)" : "";
        throw Failure(Exit::BadData, "message " + std::to_string(code) + " is not JSON" + hint);
    }
    if (!root.isObject()) throw Failure(Exit::BadData, "message " + std::to_string(code) + " is not a JSON object");
    return root;
}

}  // namespace robocomm::tools
