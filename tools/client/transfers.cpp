// The firmware and log transfers as the operator sees them: a progress bar
// on a terminal, and one summary line.
#include <iostream>
#include <limits>

#include "client/commands.h"
#include "client/progress.h"
#include "common/files.h"
#include "common/transfers.h"
#include "common/vocabulary.h"
#include "robocomm/security.h"

namespace robocomm::client {

using namespace robocomm::tools;

namespace {

std::string bytesText(size_t bytes) {
    if (bytes < 10 * 1024) return std::to_string(bytes) + " B";
    return std::to_string(bytes / 1024) + " KiB";
}

int percent(size_t part, size_t whole) { return static_cast<int>(part * 100 / std::max<size_t>(whole, 1)); }

// The bar fills with the bytes sent; the robot's own reports ride along.
std::string robotMark(const FirmwareProgress& progress) {
    if (progress.robotReceived) return "robot: received all, verifying";
    return "robot: " + std::to_string(progress.robotPercent) + "%";
}

}  // namespace

void runOta(const Settings& settings, const std::string& imagePath) {
    const Output out(settings.json);
    const std::string image = readWholeFile(imagePath);
    if (image.empty()) throw Failure(Exit::Usage, imagePath + " is empty");
    if (image.size() > std::numeric_limits<uint32_t>::max()) throw Failure(Exit::Usage, imagePath + " is too large");

    Link link(settings.link);
    ProgressBar bar("firmware", !settings.json);
    const bool accepted = sendFirmware(link, image, [&bar](const FirmwareProgress& progress) {
        bar.show(percent(progress.sent, progress.total), robotMark(progress));
    });
    bar.show(100, accepted ? "robot: verified" : "robot: refused");
    bar.finish();

    Json::Value details;
    details["image"] = imagePath;
    details["bytes"] = Json::UInt64(image.size());
    details["sha256"] = calculateSHA256(image);
    out.outcome(findByCode(kOtaDataCode), accepted ? "accepted" : "refused", details,
                "firmware: " + bytesText(image.size()) + " sent, sha256 " + details["sha256"].asString() + ", " +
                    (accepted ? "accepted by the robot" : "REFUSED by the robot"),
                std::cout);
    if (!accepted) throw Failure(Exit::Failed, "the robot refused the firmware image");
}

void runLog(const Settings& settings, const std::string& archivePath) {
    const Output out(settings.json);
    checkWritable(archivePath);
    Link link(settings.link);
    ProgressBar bar("log bundle", !settings.json);
    const std::string archive = fetchLogBundle(link, [&bar](size_t got, size_t total) {
        bar.show(percent(got, total), bytesText(got) + " of " + bytesText(total));
    });
    bar.finish();
    writeWholeFile(archivePath, archive);

    Json::Value details;
    details["file"] = archivePath;
    details["bytes"] = Json::UInt64(archive.size());
    details["sha256"] = calculateSHA256(archive);
    // With the archive on stdout, the summary goes beside it on stderr.
    out.outcome(findByCode(kLogDataCode), "written", details,
                "log bundle: " + bytesText(archive.size()) + " written to " +
                    (archivePath == "-" ? "stdout" : archivePath) + " (digest verified)",
                archivePath == "-" ? std::cerr : std::cout);
}

}  // namespace robocomm::client
