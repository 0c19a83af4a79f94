#include "capture.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "link/link_helpers.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"

extern "C" int usleep(useconds_t) { return 0; }

namespace streamtest {

void EitherEncryption::SetUp() {
    API_GenerateKey();
    enableEnc = static_cast<unsigned char>(GetParam());
}

void EitherEncryption::TearDown() { enableEnc = 1; }

Sent sendThrough(const std::function<void()>& send) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return {};
    Sent sent;
    std::thread reader([&] {
        char buffer[65536];
        for (ssize_t n; (n = recv(ends[1], buffer, sizeof buffer, 0)) > 0;) sent.wire.append(buffer, n);
    });
    const int savedClient = clientfd;
    clientfd = ends[0];
    robotest::OutputCapture capture;
    send();
    const auto output = capture.finish();
    clientfd = savedClient;
    shutdown(ends[0], SHUT_WR);
    reader.join();
    close(ends[0]);
    close(ends[1]);
    sent.out = output.out;
    sent.err = output.err;
    return sent;
}

std::string payloadOf(const std::string& text) {
    if (!enableEnc) return text;
    std::vector<unsigned char> cipher;
    encryptData(text, cipher, key, iv);
    return std::string(cipher.begin(), cipher.end());
}

std::string chunkedWire(const std::string& payload, int code, int kind) {
    const size_t parts = (payload.size() + 32767) / 32768;
    std::string wire;
    for (size_t part = 1; part <= parts; ++part)
        wire += linktest::header(payload.size(), parts, part, code, kind) + payload.substr((part - 1) * 32768, 32768);
    return wire;
}

std::string streamWire(const std::string& payload, int code, int kind) {
    const size_t parts = (payload.size() + 32 + 1399) / 1400;
    std::string wire;
    for (size_t part = 1; part <= parts; ++part) {
        const size_t start = (part - 1) * 1400;
        if (start > payload.size()) break;
        if (part == 1) wire += linktest::header(payload.size(), parts, 1, code, kind) + linktest::sha256(payload);
        wire += payload.substr(start, 1400);
    }
    return wire;
}

std::string randomBytes(size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(generator());
    return bytes;
}

}  // namespace streamtest
