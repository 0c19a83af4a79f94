// Server lifecycle and the receive thread: one client at a time on port
// 10001, polled without blocking, each read taken as one frame.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <vector>

#include "link/log_lines.h"
#include "link/process_exit.h"
#include "link/reassembly.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

namespace {

constexpr uint16_t kServerPort = 10001;
constexpr int kListenBacklog = 5;
constexpr useconds_t kPollPauseMicros = 100000;
// Empty polls in a row tolerated before a partial message is dropped: the
// 52nd (about 5.2 s of silence) clears it.
constexpr int kEmptyPollsKept = 50;

[[noreturn]] void abandonSetup(const char* reason) {
    perror(reason);
    close(sockfd);
    robocomm::endProcess();
}

void openListeningSocket() {
    sockfd = socket(AF_INET, SOCK_STREAM, 0);
    if (sockfd < 0) {
        perror("소켓 생성 실패");
        robocomm::endProcess();
    }
    robocomm::logOut() << "setsockopt start";
    const int reuse = 1;
    if (setsockopt(sockfd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) < 0) abandonSetup("setsockopt 실패");
    robocomm::logOut() << "bind start";
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(kServerPort);
    if (bind(sockfd, reinterpret_cast<sockaddr*>(&address), sizeof address) < 0) abandonSetup("바인드 실패");
    robocomm::logOut() << "listen start";
    if (listen(sockfd, kListenBacklog) < 0) abandonSetup("리스닝 실패");
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

Pass waitForData(robocomm::Connection& connection) {
    std::printf("Wait ... \n");
    std::fflush(stdout);
    usleep(kPollPauseMicros);
    if (waitClear++ <= kEmptyPollsKept) return Pass::Continue;
    // The connection stays; only the partial message goes. The firmware
    // buffer is deliberately not released here.
    dropPartialMessage(connection, "wait Clear");
    connection.forgetMessage();
    return Pass::Continue;
}

// One poll of the client socket.
Pass pollClient(robocomm::Connection& connection, std::vector<unsigned char>& buffer) {
    SetNonBlockingMode(clientfd);
    const ssize_t count = recv(clientfd, buffer.data(), buffer.size(), 0);
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
    if (errno == EAGAIN) return waitForData(connection);
    perror("recv error [Clear] ");
    dropPartialMessage(connection, nullptr);
    return Pass::ClientGone;
}

// Serves the accepted client until it leaves or the server stops. False when
// the thread must end at once.
bool serveClient(std::vector<unsigned char>& buffer) {
    robocomm::Connection connection;
    while (running) {
        try {
            const Pass pass = pollClient(connection, buffer);
            if (pass == Pass::ThreadEnds) return false;
            if (pass == Pass::ClientGone) break;
        } catch (const std::exception& error) {
            robocomm::logErr() << "Exception occurred: " << error.what();
        } catch (...) {
            robocomm::logErr() << "Unknown exception occurred";
        }
    }
    robocomm::logErr() << "Closing client connection";
    close(clientfd);
    return true;
}

}  // namespace

void receiveData() {
    running = true;
    robocomm::logErr() << "receiveData start";
    openListeningSocket();
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
        // An allocation failure of the firmware buffer ends the thread on the
        // spot, leaving both sockets open.
        if (!serveClient(buffer)) return;
    }
    robocomm::logErr() << "Closing server socket";
    close(sockfd);
}

void stopServer() {
    running = false;
    if (sockfd < 0) return;
    // Closing a socket does not wake a thread blocked in accept on Linux;
    // shutting it down does, so the receive loop sees its accept fail.
    shutdown(sockfd, SHUT_RDWR);
    close(sockfd);
    sockfd = -1;
    robocomm::logErr() << "Server stopped";
}

void start_server() {
    generateKeyAndIV(password, key, iv);
    // A second start without a stop ends the process, deliberately.
    if (receiverThread.joinable()) std::terminate();
    receiverThread = std::thread(receiveData);
}

void stop_server() {
    stopServer();
    if (receiverThread.joinable()) receiverThread.join();
}

void APIGetVersion(std::string& out) { out = "0.32.2.1"; }
