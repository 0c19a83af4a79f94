// What a sender puts on a connected socket and on the two standard streams,
// with the link's pause after each packet taken out of this binary (it is
// the protocol's pace, and would make large answers take minutes here), and
// the wire bytes the whole-buffer senders produce, spelled out apart from
// the library's framing code.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace streamtest {

// Each test runs with encryption off (parameter 0) and on (1), the key derived.
class EitherEncryption : public testing::TestWithParam<int> {
protected:
    void SetUp() override;
    void TearDown() override;
};

struct Sent {
    std::string wire;
    std::string out;
    std::string err;
};

// Runs `send` with clientfd on one end of a connected pair of sockets and
// collects what arrives at the other.
Sent sendThrough(const std::function<void()>& send);

// The payload as sent: the text enciphered whole when enableEnc is set.
std::string payloadOf(const std::string& text);
// Chunked layout: a header before every slice of 32768 bytes.
std::string chunkedWire(const std::string& payload, int code, int kind);
// Stream layout, up to the packet whose slice lies beyond the payload's end.
std::string streamWire(const std::string& payload, int code, int kind);

// `count` bytes of a fixed pseudo-random sequence.
std::string randomBytes(size_t count, unsigned seed);

}  // namespace streamtest
