#include "support/link_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <vector>

#include "robocomm/security.h"

namespace robotest {

namespace {

constexpr uint16_t kServerPort = 10001;
constexpr auto kConnectPatience = std::chrono::seconds(5);
constexpr auto kConnectRetry = std::chrono::milliseconds(50);

int connectOnce() {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return -1;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(kServerPort);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) return fd;
    ::close(fd);
    return -1;
}

std::string headerBytes(const robocomm::FrameHeader& header) {
    std::string bytes(robocomm::kHeaderSize, '\0');
    robocomm::writeHeader(header, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

// Payload bytes of part k in the chunked layout of a message of totalSize bytes.
size_t chunkLength(const robocomm::FrameHeader& header) {
    if (header.partNumber == 0) return 0;
    const size_t start = static_cast<size_t>(header.partNumber - 1) * robocomm::kChunkPayload;
    if (start >= header.totalSize) return 0;
    return std::min(robocomm::kChunkPayload, header.totalSize - start);
}

}  // namespace

LinkClient::LinkClient() {
    const auto deadline = Clock::now() + kConnectPatience;
    while ((fd_ = connectOnce()) < 0 && Clock::now() < deadline) std::this_thread::sleep_for(kConnectRetry);
}

LinkClient::~LinkClient() { close(); }

bool LinkClient::connected() const { return fd_ >= 0; }

void LinkClient::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

uint16_t LinkClient::localPort() const {
    sockaddr_in addr{};
    socklen_t len = sizeof addr;
    if (fd_ < 0 || ::getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0) return 0;
    return ntohs(addr.sin_port);
}

void LinkClient::sendRaw(const std::string& bytes, std::chrono::milliseconds pause) {
    size_t sent = 0;
    while (fd_ >= 0 && sent < bytes.size()) {
        const ssize_t n = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        sent += static_cast<size_t>(n);
    }
    std::this_thread::sleep_for(pause);
}

void LinkClient::sendFrame(uint8_t code, uint8_t kind, const std::string& payload, uint16_t totalParts,
                           uint16_t partNumber) {
    const robocomm::FrameHeader header{static_cast<uint32_t>(payload.size()), totalParts, partNumber, code, kind};
    sendRaw(headerBytes(header) + payload);
}

void LinkClient::sendCommand(uint8_t code, const std::string& json) {
    if (!enableEnc) {
        sendFrame(code, 1, json);
        return;
    }
    std::vector<unsigned char> cipher;
    encryptData(json, cipher, key, iv);
    sendFrame(code, 1, std::string(cipher.begin(), cipher.end()));
}

bool LinkClient::fill(size_t n, Clock::time_point deadline) {
    char chunk[65536];
    while (buffer_.size() < n && fd_ >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return false;
        pollfd p{fd_, POLLIN, 0};
        const int ready = ::poll(&p, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        const ssize_t got = ::recv(fd_, chunk, sizeof chunk, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        buffer_.append(chunk, static_cast<size_t>(got));
    }
    return buffer_.size() >= n;
}

std::string LinkClient::take(size_t n) {
    n = std::min(n, buffer_.size());
    std::string out = buffer_.substr(0, n);
    buffer_.erase(0, n);
    return out;
}

std::optional<Frame> LinkClient::readFrame(std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    if (!fill(robocomm::kHeaderSize, deadline)) return std::nullopt;
    const auto header = robocomm::readHeader(reinterpret_cast<const unsigned char*>(buffer_.data()));
    const size_t length = robocomm::kHeaderSize + chunkLength(header);
    if (!fill(length, deadline)) return std::nullopt;
    take(robocomm::kHeaderSize);
    return Frame{header, take(length - robocomm::kHeaderSize)};
}

std::optional<std::string> LinkClient::readMessage(uint8_t code, std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    std::string payload;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return std::nullopt;
        const auto frame = readFrame(left);
        if (!frame) return std::nullopt;
        if (frame->header.identifier != code) continue;
        if (frame->header.partNumber == 1) payload.clear();
        payload += frame->payload;
        if (frame->header.partNumber >= frame->header.totalParts) break;
    }
    if (!enableEnc) return payload;
    return decryptData(payload, key, iv);
}

std::string LinkClient::readBytes(size_t n, std::chrono::milliseconds timeout) {
    fill(n, Clock::now() + timeout);
    return take(n);
}

}  // namespace robotest
