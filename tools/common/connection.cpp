#include "common/connection.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "common/failure.h"

namespace robocomm::tools {

namespace {

constexpr size_t kReadChunk = 64 * 1024;

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressList resolve(const std::string& host, uint16_t port) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int rc = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list);
    if (rc != 0) throw Failure(Exit::Unreachable, "cannot resolve " + host + ": " + gai_strerror(rc));
    return AddressList(list, freeaddrinfo);
}

// "[::1]:10001" for IPv6 literals, as URLs write them.
std::string endpoint(const std::string& host, uint16_t port) {
    const bool bracket = host.find(':') != std::string::npos;
    return (bracket ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

// A non-blocking socket connected to one address, or -1 with errno set.
int connectTo(const addrinfo& address, Deadline deadline) {
    const int fd = ::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    // Frames must leave at once and whole: the robot takes each read as one frame.
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    int err = 0;
    if (::connect(fd, address.ai_addr, address.ai_addrlen) != 0) {
        err = errno;
        if (err == EINPROGRESS) {
            pollfd p{fd, POLLOUT, 0};
            err = ETIMEDOUT;
            while (!deadline.passed() && !interruptRequested()) {
                const int n = ::poll(&p, 1, deadline.remainingMs());
                if (n < 0 && errno == EINTR) continue;
                if (n > 0) {
                    socklen_t len = sizeof err;
                    ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &len);
                }
                break;
            }
        }
    }
    if (err == 0) return fd;
    ::close(fd);
    errno = err;
    return -1;
}

}  // namespace

int Deadline::remainingMs() const {
    const auto left = std::chrono::ceil<Millis>(at_ - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 60 * 60 * 1000));
}

Connection::Connection(const std::string& host, uint16_t port, Millis patience) {
    const auto addresses = resolve(host, port);
    const Deadline deadline = Deadline::after(patience);
    // Every address the name has, of either family, until one answers.
    int err = 0;
    for (const addrinfo* address = addresses.get(); address && fd_ < 0; address = address->ai_next) {
        fd_ = connectTo(*address, deadline);
        if (fd_ < 0) err = errno;
    }
    checkInterrupt();
    if (fd_ < 0)
        throw Failure(Exit::Unreachable, "cannot connect to " + endpoint(host, port) + ": " + std::strerror(err));
}

Connection::~Connection() { ::close(fd_); }

bool Connection::ready(short events, Deadline deadline) const {
    pollfd p{fd_, events, 0};
    for (;;) {
        // Ctrl-C may have come between two waits, where no poll was there to wake.
        checkInterrupt();
        const int n = ::poll(&p, 1, deadline.remainingMs());
        if (n > 0) return true;
        if (n == 0) return false;
        if (errno != EINTR) throw Failure(Exit::Unreachable, std::string("poll: ") + std::strerror(errno));
        if (deadline.passed()) return false;
    }
}

void Connection::write(const char* data, size_t size, Deadline deadline) {
    size_t sent = 0;
    while (sent < size) {
        const ssize_t n = ::send(fd_, data + sent, size - sent, MSG_NOSIGNAL);
        if (n > 0) {
            sent += static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EAGAIN)
            throw Failure(Exit::Unreachable, std::string("connection lost while sending: ") + std::strerror(errno));
        if (!ready(POLLOUT, deadline)) throw Failure(Exit::Timeout, "the robot stopped taking data");
    }
}

bool Connection::await(size_t n, Deadline deadline) {
    char chunk[kReadChunk];
    while (inbox_.size() < n) {
        const ssize_t got = ::recv(fd_, chunk, sizeof chunk, 0);
        if (got > 0) {
            inbox_.append(chunk, static_cast<size_t>(got));
            heard_ = true;
            continue;
        }
        if (got == 0) throw Failure(Exit::Unreachable, "the robot closed the connection");
        if (errno == EINTR) continue;
        if (errno != EAGAIN)
            throw Failure(Exit::Unreachable, std::string("connection lost: ") + std::strerror(errno));
        if (!ready(POLLIN, deadline)) return false;
    }
    return true;
}

std::string Connection::take(size_t n) {
    std::string head = inbox_.substr(0, n);
    inbox_.erase(0, n);
    return head;
}

}  // namespace robocomm::tools
