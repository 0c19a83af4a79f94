#include "support/link_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "robocomm/security.h"

namespace robotest {

namespace {

using std::chrono::milliseconds;

int connectOnce() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(10001);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) return fd;
    if (fd >= 0) ::close(fd);
    return -1;
}

// Payload bytes carried by this part of a chunked message.
size_t chunkLength(const robocomm::FrameHeader& header) {
    const size_t start = (std::max<size_t>(header.partNumber, 1) - 1) * robocomm::kChunkPayload;
    return header.totalSize > start ? std::min(robocomm::kChunkPayload, header.totalSize - start) : 0;
}

}  // namespace

LinkClient::LinkClient() {
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while ((fd_ = connectOnce()) < 0 && Clock::now() < deadline) std::this_thread::sleep_for(milliseconds(50));
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

// A blocking send on a stream socket writes every byte unless a signal interrupts it.
void LinkClient::sendRaw(const std::string& bytes, milliseconds pause) {
    if (fd_ >= 0) ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    std::this_thread::sleep_for(pause);
}

void LinkClient::sendFrame(uint8_t code, uint8_t kind, const std::string& payload, uint16_t totalParts,
                           uint16_t partNumber) {
    std::string header(robocomm::kHeaderSize, '\0');
    robocomm::writeHeader({static_cast<uint32_t>(payload.size()), totalParts, partNumber, code, kind},
                          reinterpret_cast<unsigned char*>(header.data()));
    sendRaw(header + payload);
}

void LinkClient::sendCommand(uint8_t code, const std::string& json) {
    if (!enableEnc) return sendFrame(code, 1, json);
    std::vector<unsigned char> cipher;
    encryptData(json, cipher, key, iv);
    sendFrame(code, 1, std::string(cipher.begin(), cipher.end()));
}

bool LinkClient::fill(size_t n, Clock::time_point deadline) {
    char chunk[65536];
    while (buffer_.size() < n) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd p{fd_, POLLIN, 0};
        if (fd_ < 0 || left <= 0 || ::poll(&p, 1, static_cast<int>(left)) <= 0) return false;
        const ssize_t got = ::recv(fd_, chunk, sizeof chunk, 0);
        if (got <= 0) return false;
        buffer_.append(chunk, static_cast<size_t>(got));
    }
    return true;
}

std::optional<Frame> LinkClient::readFrame(milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    if (!fill(robocomm::kHeaderSize, deadline)) return std::nullopt;
    const auto header = robocomm::readHeader(reinterpret_cast<const unsigned char*>(buffer_.data()));
    const size_t length = robocomm::kHeaderSize + chunkLength(header);
    if (!fill(length, deadline)) return std::nullopt;
    return Frame{header, readBytes(length, milliseconds(0)).substr(robocomm::kHeaderSize)};
}

std::optional<std::string> LinkClient::readMessage(uint8_t code, milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    std::string payload;
    for (;;) {
        const auto frame = readFrame(std::chrono::duration_cast<milliseconds>(deadline - Clock::now()));
        if (!frame) return std::nullopt;
        if (frame->header.identifier != code) continue;
        if (frame->header.partNumber == 1) payload.clear();
        payload += frame->payload;
        if (frame->header.partNumber >= frame->header.totalParts) break;
    }
    return enableEnc ? decryptData(payload, key, iv) : payload;
}

std::string LinkClient::readBytes(size_t n, milliseconds timeout) {
    fill(n, Clock::now() + timeout);
    std::string out = buffer_.substr(0, n);
    buffer_.erase(0, out.size());
    return out;
}

}  // namespace robotest
