// The two streamed transfers: a firmware image to the robot, the log bundle
// from it.
#include <algorithm>
#include <cstring>
#include <iostream>
#include <limits>
#include <optional>

#include "client/commands.h"
#include "client/failure.h"
#include "client/files.h"
#include "client/progress.h"
#include "client/vocabulary.h"
#include "robocomm/files.h"
#include "robocomm/security.h"

namespace robocomm::client {

namespace {

// The image goes out in this many slices, one robot read each, so that the
// robot's progress pushes (every 5 %) come through one by one.
constexpr size_t kOtaSlices = 20;
constexpr Millis kOtaSlicePause{120};
// The stream layout counts its parts this way; the robot only needs a non-zero value.
constexpr size_t kStreamPartRounding = kStreamSlice + kDigestSize - 1;

std::string bytesText(size_t bytes) {
    if (bytes < 10 * 1024) return std::to_string(bytes) + " B";
    return std::to_string(bytes / 1024) + " KiB";
}

void printSummary(const Settings& settings, const Json::Value& summary, const std::string& text) {
    std::cout << (settings.json ? compactJson(summary) : text) << std::endl;
}

// Follows the robot's firmware pushes (code 81, kind 15) and its verdict.
class OtaWatcher {
public:
    OtaWatcher(Link& link, ProgressBar& bar) : link_(link), bar_(bar) {}

    // Takes what arrives before `deadline`.
    void pump(Deadline deadline) {
        while (auto message = link_.receive(deadline)) take(*message);
    }
    // Waits until the robot has the whole image and has judged it. Only news
    // of progress extends the wait.
    bool verdict() {
        Deadline deadline = Deadline::after(link_.options().timeout);
        while (!verdict_) {
            auto message = link_.receive(deadline);
            if (!message)
                throw Failure(Exit::Timeout, received_ ? "the robot took the image but sent no verdict"
                                                       : "the robot stopped reporting at " +
                                                             std::to_string(progress_) + "%");
            const int before = progress_;
            take(*message);
            if (progress_ != before) deadline = Deadline::after(link_.options().timeout);
        }
        return *verdict_;
    }

private:
    void take(const Message& message) {
        if (message.code != kOtaDataCode) return;
        const Json::Value document = link_.document(message);
        if (message.kind == kKindAnswer) {
            verdict_ = document["Response"]["Set"]["OTA"]["result"].asBool();
            return;
        }
        const Json::Value& ota = document["Emergency"]["Send"]["OTA"];
        if (ota["state"].asInt() == kOtaChecksumFailed) verdict_ = false;
        received_ = received_ || ota["state"].asInt() == kOtaReceived;
        progress_ = ota["progress"].asInt();
        bar_.show(progress_, "reported by the robot");
    }

    Link& link_;
    ProgressBar& bar_;
    int progress_ = 0;
    bool received_ = false;
    std::optional<bool> verdict_;
};

}  // namespace

void runOta(const Settings& settings, const std::string& imagePath) {
    const std::string image = readWholeFile(imagePath);
    if (image.empty()) throw Failure(Exit::Usage, imagePath + " is empty");
    if (image.size() > std::numeric_limits<uint32_t>::max()) throw Failure(Exit::Usage, imagePath + " is too large");
    const auto digest = compute_sha256(reinterpret_cast<const unsigned char*>(image.data()), image.size());

    Link link(settings.link);
    ProgressBar bar("firmware", !settings.json);
    OtaWatcher watcher(link, bar);
    // First frame: header, the image's digest, the first slice; the rest
    // follows as raw bytes, never more than announced.
    const size_t slice = (image.size() + kOtaSlices - 1) / kOtaSlices;
    const size_t first = std::min(slice, kChunkPayload - kDigestSize);
    const size_t parts = std::clamp<size_t>((image.size() + kStreamPartRounding) / kStreamSlice, 1, 0xFFFF);
    const FrameHeader header{static_cast<uint32_t>(image.size()), static_cast<uint16_t>(parts), 1, kOtaDataCode,
                             kKindOtaData};
    link.sendFrame(frameBytes(header, std::string(digest.begin(), digest.end()) + image.substr(0, first)));
    for (size_t offset = first; offset < image.size(); offset += slice) {
        watcher.pump(Deadline::after(kOtaSlicePause));
        link.sendRaw(image.data() + offset, std::min(slice, image.size() - offset));
    }
    const bool accepted = watcher.verdict();
    bar.finish();

    Json::Value summary;
    summary["image"] = imagePath;
    summary["bytes"] = Json::UInt64(image.size());
    summary["sha256"] = calculateSHA256(image);
    summary["accepted"] = accepted;
    printSummary(settings, summary,
                 "firmware: " + bytesText(image.size()) + " sent, sha256 " + summary["sha256"].asString() + ", " +
                     (accepted ? "accepted by the robot" : "REJECTED by the robot"));
    if (!accepted) throw Failure(Exit::BadData, "the robot found the image's digest wrong");
}

void runLog(const Settings& settings, const std::string& archivePath) {
    Link link(settings.link);
    link.sendCommand(kLogDataCode, requestDocument(findByCode(kLogDataCode), {}));
    // Anything before the bundle's first frame is a push: pass it by.
    const Deadline start = Deadline::after(settings.link.timeout);
    for (;;) {
        const auto header = link.peekHeader(start);
        if (!header) throw Failure(Exit::Timeout, "no log bundle within the timeout");
        if (header->identifier == kLogDataCode && header->object == kKindAnswer) break;
        if (!link.receive(start)) throw Failure(Exit::Timeout, "no log bundle within the timeout");
    }
    const std::string head = link.receiveBytes(kHeaderSize + kDigestSize);
    const FrameHeader header = readHeader(reinterpret_cast<const unsigned char*>(head.data()));
    // Enciphering pads the archive by at most one block.
    if (header.totalSize > MAX_SIZE_LOG + 16)
        throw Failure(Exit::BadData, "the robot announced a log bundle of " + std::to_string(header.totalSize) +
                                         " bytes, more than it ever sends");

    ProgressBar bar("log bundle", !settings.json);
    const std::string payload = link.receiveBytes(header.totalSize, [&](size_t got) {
        bar.show(static_cast<int>(got * 100 / std::max<size_t>(header.totalSize, 1)),
                 bytesText(got) + " of " + bytesText(header.totalSize));
    });
    bar.finish();
    const auto digest = compute_sha256(reinterpret_cast<const unsigned char*>(payload.data()), payload.size());
    if (std::memcmp(digest.data(), head.data() + kHeaderSize, kDigestSize) != 0)
        throw Failure(Exit::BadData, "the log bundle does not match its digest; nothing written");
    const std::string archive = link.open(payload, kLogDataCode);
    writeWholeFile(archivePath, archive);

    Json::Value summary;
    summary["file"] = archivePath;
    summary["bytes"] = Json::UInt64(archive.size());
    summary["sha256"] = calculateSHA256(archive);
    printSummary(settings, summary,
                 "log bundle: " + bytesText(archive.size()) + " written to " + archivePath + " (digest verified)");
}

}  // namespace robocomm::client
