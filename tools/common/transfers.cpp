#include "common/transfers.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "common/failure.h"
#include "common/vocabulary.h"
#include "robocomm/files.h"
#include "robocomm/security.h"

namespace robocomm::tools {

namespace {

// The image goes out in this many slices, one robot read each, so that the
// robot's progress pushes come through as it goes.
constexpr size_t kOtaSlices = 20;
constexpr Millis kOtaSlicePause{120};
// The stream layout counts its parts this way; the robot only needs a non-zero value.
constexpr size_t kStreamPartRounding = kStreamSlice + kDigestSize - 1;

// Follows the robot's firmware pushes (code 81, kind 15) and its verdict.
class FirmwareWatcher {
public:
    FirmwareWatcher(Link& link, FirmwareProgress& progress, const std::function<void(const FirmwareProgress&)>& observe)
        : link_(link), progress_(progress), observe_(observe) {}

    // Takes what arrives before `deadline`.
    void pump(Deadline deadline) {
        while (auto message = link_.receive(deadline)) take(*message);
    }
    // Waits until the robot has judged the whole image. Only news of
    // progress extends the wait.
    bool verdict() {
        Deadline deadline = Deadline::after(link_.options().timeout);
        while (!verdict_) {
            auto message = link_.receive(deadline);
            if (!message)
                throw link_.silence(progress_.robotReceived
                                        ? std::string("the robot took the image but sent no verdict")
                                        : "the robot stopped reporting at " +
                                              std::to_string(progress_.robotPercent) + "%; no further report");
            const int before = progress_.robotPercent;
            take(*message);
            if (progress_.robotPercent != before) deadline = Deadline::after(link_.options().timeout);
        }
        return *verdict_;
    }

private:
    void take(const Message& message) {
        if (message.code != kOtaDataCode) return;
        const Json::Value document = link_.document(message);
        if (message.kind == kKindAnswer) {
            verdict_ = numberAt(document, {"Response", "Set", "OTA", "result"}) != 0;
            return;
        }
        const Json::Value& ota = memberAt(document, {"Emergency", "Send", "OTA"});
        const double state = numberAt(ota, {"state"});
        if (state == kOtaChecksumFailed) verdict_ = false;
        progress_.robotReceived = progress_.robotReceived || state == kOtaReceived;
        progress_.robotPercent = static_cast<int>(std::clamp(numberAt(ota, {"progress"}), 0.0, 100.0));
        observe_(progress_);
    }

    Link& link_;
    FirmwareProgress& progress_;
    const std::function<void(const FirmwareProgress&)>& observe_;
    std::optional<bool> verdict_;
};

}  // namespace

bool sendFirmware(Link& link, const std::string& image, const std::function<void(const FirmwareProgress&)>& observe) {
    FirmwareProgress progress;
    progress.total = image.size();
    FirmwareWatcher watcher(link, progress, observe);
    const auto digest = compute_sha256(reinterpret_cast<const unsigned char*>(image.data()), image.size());
    // First frame: header, the image's digest, the first slice; the rest
    // follows as raw bytes, never more than announced.
    const size_t slice = (image.size() + kOtaSlices - 1) / kOtaSlices;
    const size_t first = std::min(slice, kChunkPayload - kDigestSize);
    const size_t parts = std::clamp<size_t>((image.size() + kStreamPartRounding) / kStreamSlice, 1, 0xFFFF);
    const FrameHeader header{static_cast<uint32_t>(image.size()), static_cast<uint16_t>(parts), 1, kOtaDataCode,
                             kKindOtaData};
    link.sendFrame(frameBytes(header, std::string(digest.begin(), digest.end()) + image.substr(0, first)));
    progress.sent = first;
    observe(progress);
    for (size_t offset = first; offset < image.size(); offset += slice) {
        watcher.pump(Deadline::after(kOtaSlicePause));
        const size_t length = std::min(slice, image.size() - offset);
        link.sendRaw(image.data() + offset, length);
        progress.sent = offset + length;
        observe(progress);
    }
    return watcher.verdict();
}

std::string fetchLogBundle(Link& link, const std::function<void(size_t got, size_t total)>& observe) {
    link.sendCommand(kLogDataCode, requestDocument(findByCode(kLogDataCode), {}));
    // Anything before the bundle's first frame is a push: pass it by.
    const Deadline start = Deadline::after(link.options().timeout);
    for (;;) {
        const auto header = link.peekHeader(start);
        if (!header) throw link.silence("no log bundle");
        if (header->identifier == kLogDataCode && header->object == kKindAnswer) break;
        if (!link.receive(start)) throw link.silence("no log bundle");
    }
    const std::string head = link.receiveBytes(kHeaderSize + kDigestSize);
    const FrameHeader header = readHeader(reinterpret_cast<const unsigned char*>(head.data()));
    // Enciphering pads the archive by at most one block.
    if (header.totalSize > MAX_SIZE_LOG + 16)
        throw Failure(Exit::BadData, "the robot announced a log bundle of " + std::to_string(header.totalSize) +
                                         " bytes, more than it ever sends");
    const std::string payload =
        link.receiveBytes(header.totalSize, [&](size_t got) { observe(got, header.totalSize); });
    const auto digest = compute_sha256(reinterpret_cast<const unsigned char*>(payload.data()), payload.size());
    if (std::memcmp(digest.data(), head.data() + kHeaderSize, kDigestSize) != 0)
        throw Failure(Exit::BadData, "the log bundle does not match its digest; nothing written");
    return link.open(payload, kLogDataCode);
}

}  // namespace robocomm::tools
