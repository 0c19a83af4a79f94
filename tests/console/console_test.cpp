// The console's parts that need no browser: the map image, the event
// stream, and a session with a robot that cannot be reached or that serves
// another client.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <png.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <string>

#include "common/failure.h"
#include "common/vocabulary.h"
#include "console/events.h"
#include "console/map_image.h"
#include "common/session.h"
#include "console/robot_events.h"
#include "link/frame.h"
#include "robocomm/security.h"

namespace robocomm::console {
namespace {

using namespace std::chrono_literals;
using tools::Exit;
using tools::Failure;

Json::Value mapData(const std::string& image) {
    Json::Value map;
    map["width"] = 3;
    map["height"] = 2;
    map["resolution"] = 0.05;
    map["posX"] = -1.5;
    map["posY"] = 2;
    map["data"] = base64Encode(reinterpret_cast<const unsigned char*>(image.data()), image.size());
    return map;
}

// Width, height and grey pixels of a PNG.
struct Decoded {
    unsigned width, height;
    std::string pixels;
};

Decoded decodePng(const std::string& png) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_TRUE(png_image_begin_read_from_memory(&image, png.data(), png.size()));
    image.format = PNG_FORMAT_GRAY;
    std::string pixels(PNG_IMAGE_SIZE(image), '\0');
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
    return {image.width, image.height, pixels};
}

TEST(MapImage, TurnsTheRobotsPgmIntoPngWithItsGeometry) {
    // A comment in the header and a grey range of 0..15, stretched to 0..255.
    const std::string pgm = std::string("P5\n# drawn by the robot\n3 2\n15\n") + std::string("\x00\x0f\x05\x0f\x00\x0a", 6);
    const MapImage map = mapImageFrom(mapData(pgm));
    const Decoded png = decodePng(map.png);
    EXPECT_EQ(png.width, 3u);
    EXPECT_EQ(png.height, 2u);
    EXPECT_EQ(png.pixels, std::string("\x00\xff\x55\xff\x00\xaa", 6));
    EXPECT_EQ(map.resolution, 0.05);
    EXPECT_EQ(map.posX, -1.5);
    EXPECT_EQ(map.posY, 2);
}

TEST(MapImage, RefusesWhatIsNotAGreyPgm) {
    const std::string notImages[] = {
        "P2\n3 2\n255\n0 1 2 3 4 5",     // text PGM
        "P5\n3 2\n255\n\x01\x02",         // cut short
        "P5\n0 2\n255\n",                  // no width
        "P5\n3 2\n65535\n\x01\x02\x03",   // 16-bit
        "",
    };
    for (const std::string& image : notImages) {
        try {
            mapImageFrom(mapData(image));
            ADD_FAILURE() << "accepted " << image;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.status(), Exit::BadData) << image;
        }
    }
    Json::Value noData = mapData("");
    noData.removeMember("data");
    EXPECT_THROW(mapImageFrom(noData), Failure);
}

TEST(EventHub, NewcomersGetTheLatestStateThenOnlyWhatFollows) {
    EventHub hub;
    Json::Value first, second;
    first["x"] = 1;
    second["x"] = 2;
    hub.publish("position", first, true);
    hub.publish("push", first, false);
    hub.publish("position", second, true);
    uint64_t cursor = 0;
    EXPECT_EQ(hub.snapshot(cursor), "event: position\ndata: {\"x\":2}\n\n");
    EXPECT_EQ(hub.next(cursor, 10ms), "");
    hub.publish("push", first, false);
    EXPECT_EQ(hub.next(cursor, 10ms), "event: push\ndata: {\"x\":1}\n\n");

    // A closed hub lets a waiting stream go at once.
    hub.close();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(hub.next(cursor, 10s), "");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_TRUE(hub.closed());
}

// A loopback port: listening (the kernel accepts connections into the
// backlog, and nothing answers them) or closed.
class Port {
public:
    explicit Port(bool listening) {
        fd_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size), 0);
        number_ = ntohs(address.sin_port);
        if (listening) {
            EXPECT_EQ(listen(fd_, 5), 0);
        }
    }
    ~Port() { close(fd_); }
    uint16_t number() const { return number_; }
    int fd() const { return fd_; }

private:
    int fd_;
    uint16_t number_;
};

// Asks for the position until the session gives up on the robot; the last
// failure and the link events seen.
std::exception_ptr askUntilRefused(uint16_t port, std::string& events) {
    tools::LinkOptions options;
    options.port = port;
    options.timeout = 300ms;
    EventHub hub;
    RobotEvents robotEvents(hub, options);
    tools::Session session(options, consolePlan(), robotEvents);
    const CommandSpec& position = tools::commandFor(CommandKind::Get, "position");
    std::exception_ptr failure;
    uint64_t cursor = 0;
    events = hub.snapshot(cursor);
    for (int attempt = 0; attempt < 20 && !failure; ++attempt) {
        try {
            session.request(position, tools::requestDocument(position, {}));
        } catch (...) {
            failure = std::current_exception();
        }
    }
    events += hub.next(cursor, 0ms);
    return failure;
}

TEST(Session, SaysWhenTheRobotIsUnreachableOrHeldByAnotherClient) {
    std::string events;
    const auto start = std::chrono::steady_clock::now();
    {
        const uint16_t closed = Port(false).number();
        const std::exception_ptr failure = askUntilRefused(closed, events);
        ASSERT_TRUE(failure);
        try {
            std::rethrow_exception(failure);
        } catch (const Failure& unreachable) {
            EXPECT_EQ(unreachable.status(), Exit::Unreachable);
        }
        EXPECT_NE(events.find("\"state\":\"down\""), std::string::npos) << events;
    }
    {
        const Port silent(true);
        EXPECT_THROW(std::rethrow_exception(askUntilRefused(silent.number(), events)), tools::RobotHeld);
        EXPECT_NE(events.find("\"state\":\"held\""), std::string::npos) << events;
    }
    // Every wait is bounded by the 300 ms timeout.
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

// A plain robot that answers every frame it reads with `answer`, under the
// frame's own code, until the session leaves.
class HostileRobot {
public:
    explicit HostileRobot(const std::string& answer) : port_(true) {
        thread_ = std::thread([this, answer] {
            const int fd = accept(port_.fd(), nullptr, nullptr);
            unsigned char head[kHeaderSize];
            while (fd >= 0 && recv(fd, head, sizeof head, MSG_WAITALL) == static_cast<ssize_t>(sizeof head)) {
                const FrameHeader header = readHeader(head);
                std::string payload(header.totalSize, '\0');
                if (header.totalSize && recv(fd, payload.data(), payload.size(), MSG_WAITALL) <= 0) break;
                std::string frame(kHeaderSize, '\0');
                writeHeader({static_cast<uint32_t>(answer.size()), 1, 1, header.identifier, kKindAnswer},
                            reinterpret_cast<unsigned char*>(frame.data()));
                frame += answer;
                send(fd, frame.data(), frame.size(), MSG_NOSIGNAL);
            }
            if (fd >= 0) close(fd);
        });
    }
    ~HostileRobot() { thread_.join(); }
    uint16_t port() const { return port_.number(); }

private:
    Port port_;
    std::thread thread_;
};

// The session's requests fail with status 5 (HTTP 502) in the tools' own
// words, whatever the robot sends instead of a JSON object.
TEST(Session, ARobotsBadDataIsReportedInTheToolsWords) {
    const std::string nestingBomb = std::string(5000, '[') + std::string(5000, ']');
    for (const std::string& answer : {std::string("[1,2,3]"), nestingBomb}) {
        SCOPED_TRACE(answer.substr(0, 10));
        std::string events;
        {
            const HostileRobot robot(answer);
            tools::LinkOptions options;
            options.port = robot.port();
            options.plain = true;
            options.timeout = 300ms;
            EventHub hub;
            RobotEvents robotEvents(hub, options);
            tools::Session session(options, consolePlan(), robotEvents);
            const CommandSpec& position = tools::commandFor(CommandKind::Get, "position");
            uint64_t cursor = 0;
            events = hub.snapshot(cursor);
            try {
                session.request(position, tools::requestDocument(position, {}));
                ADD_FAILURE() << "a robot's bad data was taken";
            } catch (const Failure& failure) {
                // Either way the console answers 502.
                EXPECT_TRUE(failure.status() == Exit::BadData || failure.status() == Exit::Unreachable);
            }
            events += hub.next(cursor, 0ms);
        }
        // The page hears why in the link's state, as the request's error says.
        EXPECT_NE(events.find(answer[1] == '1' ? "message 10 is not a JSON object" : "message 10 is not JSON"),
                  std::string::npos)
            << events;
    }
}

}  // namespace
}  // namespace robocomm::console
