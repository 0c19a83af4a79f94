// Answers the host sends: the largest status document, a map image built and
// enciphered, and a small answer all the way onto a connected socket, each
// beside the dependency work it cannot avoid; and the heap a map answer holds
// while it is sent.
#include <arpa/inet.h>
#include <json/writer.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "inputs.h"
#include "link/frame.h"
#include "measure.h"
#include "robocomm/link.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"

// The link's fixed 100 ms pause after every packet is the protocol's pace, not
// the library's cost: it is taken out of this binary.
extern "C" int usleep(useconds_t) { return 0; }

namespace {

constexpr size_t kMapSize = 4 * bench::kMiB;
constexpr double kGeometry[5] = {2048, 2048, 0.05, -51.2, -51.2};

std::vector<unsigned char> encipher(const std::string& text) {
    std::vector<unsigned char> cipher(text.size() + 16);
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(context, EVP_aes_128_cbc(), nullptr, key, iv);
    int length = 0;
    int tail = 0;
    EVP_EncryptUpdate(context, cipher.data(), &length, reinterpret_cast<const unsigned char*>(text.data()),
                      static_cast<int>(text.size()));
    EVP_EncryptFinal_ex(context, cipher.data() + length, &tail);
    EVP_CIPHER_CTX_free(context);
    cipher.resize(static_cast<size_t>(length + tail));
    return cipher;
}

void allStatus(benchmark::State& state) {
    std::vector<ObjectDataV2> objects;
    for (int i = 0; i < 10; ++i)
        objects.push_back({static_cast<uint8_t>(i), 90, static_cast<int16_t>(100 * i), -250, 45, 320, 480, 1500});
    std::vector<LLDataV2> positions;
    for (int i = 0; i < 100; ++i)
        positions.push_back({static_cast<int16_t>(i), static_cast<int16_t>(-i), 12, 1, 30, static_cast<uint16_t>(800 + i)});
    const std::vector<int> leftDistances{310, 305, 298, 290, 287, 280, 276, 270};
    const std::vector<int> rightDistances{410, 405, 398, 390, 387, 380, 376, 370};
    bench::measure(state, [&] {
        benchmark::DoNotOptimize(createJsonAllStatusV2(
            1, 1, 120.5, 119.8, 0.82, 0.79, 0, 0, 1, objects, 1, positions, 1, 1, 1, leftDistances, rightDistances,
            950, false, false, false, false, false, false, true, false, true, false, 3.91, 3.92, 3.90, 3.93, 3.91,
            5200, 4100, 2, 78.5, 19.6, -1.2, 31.5, 30.9, 5200, 143));
    });
}
// What sendLargeJsonData holds at once: the document and its ciphertext.
void mapRobocomm(benchmark::State& state) {
    API_GenerateKey();
    const auto map = bench::randomBytes(kMapSize);
    bench::measure(state, [&] {
        const std::string text = createJsonMapDataC(kGeometry[0], kGeometry[1], kGeometry[2], kGeometry[3],
                                                    kGeometry[4], map.data(), map.size());
        std::vector<unsigned char> cipher;
        encryptData(text, cipher, key, iv);
        benchmark::DoNotOptimize(cipher.data());
    });
    state.counters["peak_heap_per_map"] = state.counters["peak_heap"] / static_cast<double>(kMapSize);
}
void mapAnchor(benchmark::State& state) {
    API_GenerateKey();
    const auto map = bench::randomBytes(kMapSize);
    const Json::StreamWriterBuilder writer;
    bench::measure(state, [&] {
        std::string encoded((map.size() + 2) / 3 * 4, '\0');
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()), map.data(), static_cast<int>(map.size()));
        Json::Value document;
        Json::Value& body = document["Response"]["Get"]["MapData"];
        body["width"] = kGeometry[0];
        body["height"] = kGeometry[1];
        body["resolution"] = kGeometry[2];
        body["posX"] = kGeometry[3];
        body["posY"] = kGeometry[4];
        body["data"] = encoded;
        benchmark::DoNotOptimize(encipher(Json::writeString(writer, document)).data());
    });
    state.counters["peak_heap_per_map"] = state.counters["peak_heap"] / static_cast<double>(kMapSize);
}
// A loopback connection standing in for the client: answers go out on
// `sender`, `drain` empties the other end between calls.
class Loopback {
public:
    Loopback() {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(listener, reinterpret_cast<sockaddr*>(&address), length);
        listen(listener, 1);
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        sender_ = socket(AF_INET, SOCK_STREAM, 0);
        connect(sender_, reinterpret_cast<sockaddr*>(&address), length);
        receiver_ = accept(listener, nullptr, nullptr);
        close(listener);
    }
    ~Loopback() {
        close(sender_);
        close(receiver_);
    }
    Loopback(const Loopback&) = delete;
    Loopback& operator=(const Loopback&) = delete;

    int sender() const { return sender_; }
    void drain() const {
        char buffer[4096];
        while (recv(receiver_, buffer, sizeof buffer, MSG_DONTWAIT) > 0) {
        }
    }

    // Reads and drops what arrives until `go` is cleared, waking every 10 ms to look.
    void drainWhile(const std::atomic<bool>& go) const {
        pollfd readable{receiver_, POLLIN, 0};
        while (go) {
            if (poll(&readable, 1, 10) > 0) drain();
        }
    }

private:
    int sender_;
    int receiver_;
};

// The 4 MiB map answer all the way onto a connected socket, read as it is
// sent: its peak extra heap is what the host gives up to send a map.
void mapSent(benchmark::State& state) {
    API_GenerateKey();
    enableEnc = 1;
    const auto map = bench::randomBytes(kMapSize);
    const Loopback client;
    clientfd = client.sender();
    std::atomic<bool> sending{true};
    std::thread reader([&] { client.drainWhile(sending); });
    {
        const bench::SilencedConsole console;
        bench::measure(state, [&] {
            resGetMapDataB(map.data(), map.size(), kGeometry[0], kGeometry[1], kGeometry[2], kGeometry[3],
                           kGeometry[4]);
        });
    }
    sending = false;
    reader.join();
    clientfd = 0;
    state.counters["peak_heap_per_map"] = state.counters["peak_heap"] / static_cast<double>(kMapSize);
}
void positionRobocomm(benchmark::State& state) {
    API_GenerateKey();
    enableEnc = 1;
    const Loopback client;
    clientfd = client.sender();
    const bench::SilencedConsole console;
    bench::measure(state, [] { resGetPosition(1.25, -0.5, 3.14159); }, [&] { client.drain(); });
    clientfd = 0;
}
// The document written, enciphered and sent in one frame with one send.
void positionAnchor(benchmark::State& state) {
    API_GenerateKey();
    const Loopback client;
    const Json::StreamWriterBuilder writer;
    bench::measure(
        state,
        [&] {
            Json::Value document;
            Json::Value& body = document["Response"]["Get"]["Position"];
            body["x"] = 1.25;
            body["y"] = -0.5;
            body["theta"] = 3.14159;
            const auto cipher = encipher(Json::writeString(writer, document));
            std::vector<unsigned char> frame(robocomm::kHeaderSize + cipher.size());
            robocomm::writeHeader({static_cast<uint32_t>(cipher.size()), 1, 1, 1, robocomm::kKindAnswer}, frame.data());
            std::copy(cipher.begin(), cipher.end(), frame.begin() + robocomm::kHeaderSize);
            send(client.sender(), frame.data(), frame.size(), 0);
        },
        [&] { client.drain(); });
}
const bool registered = [] {
    bench::add("createJsonAllStatusV2", allStatus);
    bench::add("mapAnswer/robocomm", mapRobocomm);
    bench::add("mapAnswer/anchor", mapAnchor);
    bench::add("mapAnswerSent", mapSent);
    bench::add("resGetPosition/robocomm", positionRobocomm);
    bench::add("resGetPosition/anchor", positionAnchor);
    return true;
}();

}  // namespace
