// robocomm-demo-host: a simulated robot control program, and the example to
// read first when writing a host program for robocomm.
//
// A host program does four things with the library, all through robocomm.h:
//   1. start_server() once: the library serves one remote client on TCP port
//      10001, on a thread of its own.
//   2. In its control loop, poll every command's mailbox (req...): a poll
//      returns 1 once per command received and hands over its parameters.
//   3. Answer each command with its res... function (serve.cpp shows all).
//   4. stop_server() before it exits.
// The library writes a verbose trace to stdout and stderr; this program sends
// it to <run folder>/robocomm.log and keeps its own terminal for its messages.
#include <robocomm.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include "robot.h"
#include "serve.h"

namespace {

// The port the library always binds; --port moves it (see bind below).
constexpr uint16_t kLibraryPort = 10001;
constexpr auto kTick = std::chrono::milliseconds(20);
// A client that sent nothing for this long is taken to be gone.
constexpr auto kClientPresence = std::chrono::seconds(3);

volatile std::sig_atomic_t stopRequested = 0;
// Where the library's listener really goes: kLibraryPort unless --port says otherwise.
uint16_t servedPort = kLibraryPort;
// The terminal the program started with; the library's output goes elsewhere.
int hostOut = STDOUT_FILENO;

struct Options {
    bool plain = false;
    bool help = false;
    bool version = false;
    std::string runFolder;
    uint16_t port = kLibraryPort;
    std::string serial = "DEMO-0001";
};

const char kUsage[] = R"(usage: robocomm-demo-host [--plain] [--run-dir DIR] [--port PORT] [--serial TEXT]
  --plain        serve with payload encryption off (APISetEnc(0))
  --run-dir DIR  folder for the library log, the map-edit file, the robot's
                 logs and commands.log, a line for each command that acts
                 (default: a new folder under /tmp, kept after exit)
  --port PORT    serve this TCP port instead of 10001, so that many demo
                 robots can run on one machine (default 10001)
  --serial TEXT  the serial number the robot-info answer reports (default DEMO-0001)
  -h, --help     this text
  --version      the library's version
)";

bool portOption(const std::string& text, uint16_t& port) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 65535) return false;
    port = static_cast<uint16_t>(value);
    return true;
}

bool parseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--plain") options.plain = true;
        else if (arg == "-h" || arg == "--help") options.help = true;
        else if (arg == "--version") options.version = true;
        else if (arg == "--run-dir" && i + 1 < argc) options.runFolder = argv[++i];
        else if (arg == "--port" && i + 1 < argc) {
            if (!portOption(argv[++i], options.port)) return false;
        } else if (arg == "--serial" && i + 1 < argc && argv[i + 1][0] != '\0') options.serial = argv[++i];
        else return false;
    }
    return true;
}

bool makeRunFolder(Options& options) {
    if (options.runFolder.empty()) {
        char pattern[] = "/tmp/robocomm-demo-XXXXXX";
        if (!mkdtemp(pattern)) return false;
        options.runFolder = pattern;
    }
    std::error_code error;
    std::filesystem::create_directories(options.runFolder + "/logs", error);
    return !error;
}

// The library ends the whole process when it cannot bind its port, so find
// out beforehand and say why.
bool portIsFree() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int one = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(servedPort);
    const bool free = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return free;
}

// True once the library's server is in the kernel's table of listening sockets.
bool serverListening() {
    char port[8];
    std::snprintf(port, sizeof port, ":%04X", servedPort);
    std::ifstream table("/proc/net/tcp");
    std::string line;
    std::getline(table, line);  // column titles
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state;
        fields >> slot >> local >> remote >> state;
        if (local.size() > 5 && local.compare(local.size() - 5, 5, port) == 0 && state == "0A") return true;
    }
    return false;
}

void redirectLibraryOutput(const std::string& logPath) {
    std::fflush(stdout);
    hostOut = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    const int log = ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::close(log);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
}

// The robot's 20 ms loop until Ctrl-C or SIGTERM. Its answers and pushes
// leave through the outbox, so that no send holds the loop; the outbox ends
// with the loop, before the server stops, so the answer under way is sent whole.
void runControlLoop(demo::Robot& robot, std::ostream& record) {
    using Clock = std::chrono::steady_clock;
    demo::Outbox outbox;
    auto last = Clock::now();
    auto lastContact = last - kClientPresence;
    auto tick = last;
    while (!stopRequested) {
        // A fixed rate: a tick that came late (a busy machine) shortens the
        // next sleep instead of delaying every later tick.
        tick += kTick;
        std::this_thread::sleep_until(tick);
        const auto now = Clock::now();
        if (now - tick > kTick) tick = now;  // far behind (the machine slept): start afresh
        robot.step(std::chrono::duration<double>(now - last).count());
        last = now;
        if (demo::serveMailboxes(robot, record, outbox) > 0) lastContact = now;
        demo::serveErrorPushes(robot, now - lastContact < kClientPresence, outbox);
    }
}

}  // namespace

namespace demo {

void say(const std::string& line) {
    const std::string text = line + "\n";
    // One write per line: the library's thread says things too (the clock).
    (void)!::write(hostOut, text.data(), text.size());
}

}  // namespace demo

// The clock command (code 67) sets the system clock from inside the library.
// A demo must never change the machine's clock, so this program defines
// settimeofday itself: the dynamic linker binds the library's call to this
// definition, which only reports the time the robot would have set.
extern "C" int settimeofday(const struct timeval* tv, const struct timezone*) noexcept {
    char text[32] = "?";
    std::tm utc{};
    const std::time_t seconds = tv->tv_sec;
    if (gmtime_r(&seconds, &utc)) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
    demo::say(std::string("clock: the robot's clock would be set to ") + text + " (the demo leaves it alone)");
    return 0;
}

// The library always binds port 10001. For --port this program defines bind
// the same way: the library's call lands here, port 10001 becomes the
// chosen one, and the C library's own bind does the rest.
extern "C" int bind(int fd, const struct sockaddr* address, socklen_t size) noexcept {
    using Bind = int (*)(int, const struct sockaddr*, socklen_t);
    static const Bind realBind = reinterpret_cast<Bind>(dlsym(RTLD_NEXT, "bind"));
    if (!realBind) {
        errno = ENOSYS;
        return -1;
    }
    if (address && address->sa_family == AF_INET && size >= sizeof(sockaddr_in)) {
        sockaddr_in moved;
        std::memcpy(&moved, address, sizeof moved);
        if (ntohs(moved.sin_port) == kLibraryPort) moved.sin_port = htons(servedPort);
        return realBind(fd, reinterpret_cast<const sockaddr*>(&moved), sizeof moved);
    }
    if (address && address->sa_family == AF_INET6 && size >= sizeof(sockaddr_in6)) {
        sockaddr_in6 moved;
        std::memcpy(&moved, address, sizeof moved);
        if (ntohs(moved.sin6_port) == kLibraryPort) moved.sin6_port = htons(servedPort);
        return realBind(fd, reinterpret_cast<const sockaddr*>(&moved), sizeof moved);
    }
    return realBind(fd, address, size);
}

int main(int argc, char** argv) {
    Options options;
    if (!parseOptions(argc, argv, options)) {
        std::cerr << kUsage;
        return 2;
    }
    if (options.help) {
        std::cout << kUsage;
        return 0;
    }
    if (options.version) {
        std::string version;
        APIGetVersion(version);
        std::cout << "robocomm-demo-host, robocomm library " << version << "\n";
        return 0;
    }
    servedPort = options.port;
    if (!makeRunFolder(options)) {
        std::cerr << "robocomm-demo-host: cannot create the run folder " << options.runFolder << "\n";
        return 1;
    }
    if (!portIsFree()) {
        std::cerr << "robocomm-demo-host: port " << servedPort << " is in use (is another robot running?)\n";
        return 1;
    }

    // Ctrl-C and SIGTERM end the loop; a client that vanishes mid-answer
    // must not kill the robot with SIGPIPE.
    std::signal(SIGINT, [](int) { stopRequested = 1; });
    std::signal(SIGTERM, [](int) { stopRequested = 1; });
    std::signal(SIGPIPE, SIG_IGN);

    redirectLibraryOutput(options.runFolder + "/robocomm.log");
    // The library keeps the map-edit document (command 71) in this file.
    mapEditFilePath = options.runFolder + "/MapEdit.bin";
    if (options.plain) APISetEnc(0);

    demo::Robot robot;
    robot.logFolder = options.runFolder + "/logs";
    robot.serial = options.serial;
    robot.note("demo robot powered on");

    // What reached the robot, for the operator and for tests that judge
    // from the robot's side.
    std::ofstream record(options.runFolder + "/commands.log", std::ios::app);
    start_server();
    for (int i = 0; i < 100 && !serverListening(); ++i) std::this_thread::sleep_for(kTick);
    demo::say("demo host: serving port " + std::to_string(servedPort) + " with encryption " +
              (options.plain ? "off" : "on") + "; run folder " + options.runFolder + ", library log " +
              options.runFolder + "/robocomm.log");

    runControlLoop(robot, record);
    stop_server();
    demo::say("demo host: stopped");
    return 0;
}
