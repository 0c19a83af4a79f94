#include "e2e/fake_robot.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace e2e {

namespace {

constexpr int kPatienceMs = 5000;

int listenOnLoopback(uint16_t& port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(fd, 1) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(fd);
        return -1;
    }
    port = ntohs(address.sin_port);
    return fd;
}

bool readable(int fd) {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, kPatienceMs) == 1;
}

}  // namespace

FakeRobot::FakeRobot(std::function<void(int fd)> script) {
    listener_ = listenOnLoopback(port_);
    thread_ = std::thread([this, script] { serve(script); });
}

FakeRobot::~FakeRobot() {
    thread_.join();
    close(listener_);
}

void FakeRobot::serve(const std::function<void(int fd)>& script) {
    if (listener_ < 0 || !readable(listener_)) return;
    const int fd = accept(listener_, nullptr, nullptr);
    char command[robocomm::kMaxFrame];
    if (fd >= 0 && readable(fd) && recv(fd, command, sizeof command, 0) > 0) {
        script(fd);
        // Hold the connection until the client is done with it.
        while (readable(fd) && recv(fd, command, sizeof command, 0) > 0) {
        }
    }
    if (fd >= 0) close(fd);
}

std::string chunkFrame(uint8_t code, uint8_t kind, uint32_t totalSize, uint16_t parts, uint16_t part,
                       const std::string& payload) {
    std::string frame(robocomm::kHeaderSize, '\0');
    robocomm::writeHeader({totalSize, parts, part, code, kind}, reinterpret_cast<unsigned char*>(frame.data()));
    return frame + payload;
}

void sendAll(int fd, const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) return;
        sent += static_cast<size_t>(n);
    }
}

uint16_t unusedPort() {
    uint16_t port = 0;
    close(listenOnLoopback(port));
    return port;
}

}  // namespace e2e
