// Server lifecycle and the receive thread: one client at a time on port
// 10001, polled without blocking, each read taken as one frame; between
// empty polls the thread waits for the client's next bytes.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <vector>

#include "link/datagram_socket.h"
#include "link/log_lines.h"
#include "link/process_exit.h"
#include "link/reassembly.h"
#include "link/receive_loop.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

namespace {

constexpr uint16_t kServerPort = 10001;
constexpr int kListenBacklog = 5;
// Longest wait after an empty poll: a command that arrives during it is read
// at once, and silence still gives one empty poll per pause.
constexpr std::chrono::milliseconds kPollPause(100);
// A frame that is still arriving is looked at again every 2 ms, for no longer
// than one poll pause.
constexpr useconds_t kArrivalLookMicros = 2000;
constexpr int kArrivalLooks = 50;
// Empty polls in a row tolerated before a partial message is dropped: the
// 52nd (about 5.2 s of silence) clears it.
constexpr int kEmptyPollsKept = 50;

// A peer that vanishes without closing (radio gone, tablet asleep) must not
// hold the only client slot for ever: keepalive probes after 10 s of silence,
// every 5 s, and the unacknowledged-data limit both give up after about 30 s,
// so recv fails and the loop accepts the next client. Nothing changes on the
// wire while the peer answers. Best effort: without these the link still works.
constexpr int kKeepaliveIdleSeconds = 10;
constexpr int kKeepaliveIntervalSeconds = 5;
constexpr int kKeepaliveProbes = 4;
constexpr unsigned kUnacknowledgedLimitMillis = 30000;

// The listening socket this thread opened. sockfd may name another
// descriptor when the server stops (the UDP sender reuses the global, and it
// is 0 before the first start), so only this one is ever shut down. Whoever
// takes it out of here closes it, so it is closed exactly once.
std::mutex listenerLock;
int listener = -1;
// The datagram number the UDP sender closed and left in sockfd. By the time
// the server stops, the host may have opened a file or socket under that
// number, so a stop must not close it a second time.
int retiredDatagram = -1;

// start_server returns only once the thread has raised `running`, so that a
// stop requested right after the start cannot be overwritten by that store.
std::mutex startLock;
std::condition_variable startSignal;
bool runningRaised = false;

void raiseRunning() {
    std::lock_guard<std::mutex> lock(startLock);
    running = true;
    runningRaised = true;
    startSignal.notify_all();
}

[[noreturn]] void abandonSetup(const char* reason, int fd) {
    perror(reason);
    close(fd);
    robocomm::endProcess();
}

// Set up on a local descriptor and published only once listening, so that a
// stop arriving meanwhile finds nothing half-made to close.
int openListeningSocket() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) {
        perror("소켓 생성 실패");
        robocomm::endProcess();
    }
    robocomm::logOut() << "setsockopt start";
    const int reuse = 1;
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) < 0) abandonSetup("setsockopt 실패", fd);
    robocomm::logOut() << "bind start";
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(kServerPort);
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) < 0) abandonSetup("바인드 실패", fd);
    robocomm::logOut() << "listen start";
    if (listen(fd, kListenBacklog) < 0) abandonSetup("리스닝 실패", fd);
    return fd;
}

void publishListener(int fd) {
    std::lock_guard<std::mutex> lock(listenerLock);
    listener = fd;
    sockfd = fd;
    retiredDatagram = -1;
}

// Closes the listening socket unless stopServer already took it.
void releaseListener() {
    std::lock_guard<std::mutex> lock(listenerLock);
    if (listener < 0) return;
    if (sockfd == listener) sockfd = -1;
    close(listener);
    listener = -1;
}

ssize_t readSocket(int fd, void* buffer, size_t size) { return recv(fd, buffer, size, 0); }

ssize_t peekSocket(int fd, void* buffer, size_t size) { return recv(fd, buffer, size, MSG_PEEK | MSG_DONTWAIT); }

// Only the client wakes this wait, not a stop: the loop then sees `running`
// cleared within one pause, as when it slept. A signal does not shorten it,
// so silence keeps its rate of empty polls.
void awaitClient(int fd) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + kPollPause;
    pollfd client{fd, POLLIN, 0};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return;
        if (poll(&client, 1, static_cast<int>(left.count())) >= 0 || errno != EINTR) return;
    }
}

void lookAgainShortly() { usleep(kArrivalLookMicros); }

constexpr robocomm::ClientIo kSocketIo{readSocket, peekSocket, awaitClient, lookAgainShortly};

void watchForVanishedPeer(int fd) {
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPIDLE, &kKeepaliveIdleSeconds, sizeof kKeepaliveIdleSeconds);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPINTVL, &kKeepaliveIntervalSeconds, sizeof kKeepaliveIntervalSeconds);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPCNT, &kKeepaliveProbes, sizeof kKeepaliveProbes);
    setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &kUnacknowledgedLimitMillis, sizeof kUnacknowledgedLimitMillis);
}

// Drops the partial message, between separators; `note` names the reason.
void dropPartialMessage(robocomm::Connection& connection, const char* note) {
    robocomm::logErr() << robocomm::kReceiveSeparator;
    if (note != nullptr) robocomm::logErr() << note;
    connection.parts.clear();
    receivedBytes = 0;
    waitClear = 0;
    robocomm::logErr() << robocomm::kReceiveSeparator;
}

// What one poll means for the client being served.
enum class Pass { Continue, ClientGone, ThreadEnds };

Pass waitForData(robocomm::Connection& connection, const robocomm::ClientIo& io) {
    std::printf("Wait ... \n");
    std::fflush(stdout);
    io.awaitBytes(clientfd);
    if (waitClear++ <= kEmptyPollsKept) return Pass::Continue;
    // The connection stays; only the partial message goes. The firmware
    // buffer is deliberately not released here.
    dropPartialMessage(connection, "wait Clear");
    connection.forgetMessage();
    return Pass::Continue;
}

// Each read is taken as one frame, so a frame that is still arriving (a slow
// radio link delivers it in pieces) must not be read before it is whole. The
// header is only read while no message is under way; then the loop waits for
// the bytes it announces, never longer than the pause that used to give them
// time, and reads whatever has come by then.
void awaitWholeFrame(const robocomm::Connection& connection, std::vector<unsigned char>& buffer,
                     const robocomm::ClientIo& io) {
    if (connection.expectedParts != 0) return;
    const auto deadline = std::chrono::steady_clock::now() + kPollPause;
    for (int look = 0; look < kArrivalLooks; ++look) {
        const ssize_t queued = io.peek(clientfd, buffer.data(), buffer.size());
        if (queued <= 0) return;
        const auto have = static_cast<size_t>(queued);
        if (have >= robocomm::announcedFrameLength(buffer.data(), have)) return;
        if (std::chrono::steady_clock::now() >= deadline) return;
        io.pauseBriefly();
    }
}

// One poll of the client socket.
Pass pollClient(robocomm::Connection& connection, std::vector<unsigned char>& buffer, const robocomm::ClientIo& io) {
    SetNonBlockingMode(clientfd);
    awaitWholeFrame(connection, buffer, io);
    const ssize_t count = io.read(clientfd, buffer.data(), buffer.size());
    if (count > 0) {
        std::printf("recv : %d \n", static_cast<int>(count));
        std::fflush(stdout);
        waitClear = 0;
        const auto outcome = robocomm::handleFrame(connection, buffer.data(), static_cast<size_t>(count));
        return outcome == robocomm::FrameOutcome::OutOfMemory ? Pass::ThreadEnds : Pass::Continue;
    }
    if (count == 0) {
        std::printf("Connection closed by peer Test \n");
        std::fflush(stdout);
        dropPartialMessage(connection, nullptr);
        return Pass::ClientGone;
    }
    if (errno == EAGAIN) return waitForData(connection, io);
    perror("recv error [Clear] ");
    dropPartialMessage(connection, nullptr);
    return Pass::ClientGone;
}

}  // namespace

bool robocomm::serveClient(std::vector<unsigned char>& buffer, const ClientIo& io) {
    Connection connection;
    while (running) {
        try {
            const Pass pass = pollClient(connection, buffer, io);
            if (pass == Pass::ThreadEnds) return false;
            if (pass == Pass::ClientGone) break;
        } catch (const std::exception& error) {
            robocomm::logErr() << "Exception occurred: " << error.what();
        } catch (...) {
            robocomm::logErr() << "Unknown exception occurred";
        }
    }
    robocomm::logErr() << "Closing client connection";
    // Cleared before the close: an answer sent from now on reports "Invalid
    // client socket" instead of landing in whatever the host opens next
    // under the same number.
    const int closing = clientfd;
    clientfd = -1;
    close(closing);
    return true;
}

void robocomm::retireDatagramSocket(int fd) {
    std::lock_guard<std::mutex> lock(listenerLock);
    retiredDatagram = fd;
}

void receiveData() {
    raiseRunning();
    robocomm::logErr() << "receiveData start";
    publishListener(openListeningSocket());
    std::vector<unsigned char> buffer(robocomm::kMaxFrame);
    while (running) {
        robocomm::logOut() << "Waiting for connection...";
        // sockfd is read afresh each time: the UDP sender may have replaced it.
        clientfd = accept(sockfd, nullptr, nullptr);
        if (clientfd < 0) {
            perror("연결 수락 실패");
            continue;
        }
        robocomm::logOut() << "Client connected";
        watchForVanishedPeer(clientfd);
        // An allocation failure of the firmware buffer ends the thread on the
        // spot, leaving both sockets open.
        if (!robocomm::serveClient(buffer, kSocketIo)) return;
    }
    robocomm::logErr() << "Closing server socket";
    releaseListener();
}

void stopServer() {
    running = false;
    std::lock_guard<std::mutex> lock(listenerLock);
    const int fd = sockfd;
    sockfd = -1;
    if (listener >= 0) {
        // Closing a socket does not wake a thread blocked in accept on Linux;
        // shutting it down does, so the receive loop sees its accept fail.
        shutdown(listener, SHUT_RDWR);
        if (listener != fd) close(listener);
        listener = -1;
    }
    if (fd < 0) return;
    if (fd != retiredDatagram) close(fd);
    retiredDatagram = -1;
    robocomm::logErr() << "Server stopped";
}

void start_server() {
    generateKeyAndIV(password, key, iv);
    // A second start without a stop ends the process, deliberately.
    if (receiverThread.joinable()) std::terminate();
    std::unique_lock<std::mutex> lock(startLock);
    runningRaised = false;
    receiverThread = std::thread(receiveData);
    startSignal.wait(lock, [] { return runningRaised; });
}

void stop_server() {
    stopServer();
    if (receiverThread.joinable()) receiverThread.join();
}

void APIGetVersion(std::string& out) { out = "0.32.2.1"; }
