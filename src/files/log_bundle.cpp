// The answer to LogData: the named folder packed with tar, streamed to the
// client with its digest, and the archive removed again.
#include "files/log_bundle.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "files/archive_payload.h"
#include "link/frame.h"
#include "link/log_lines.h"
#include "robocomm/files.h"
#include "robocomm/link.h"

namespace fs = std::filesystem;

namespace {

constexpr int kLogDataCode = 26;
// As int, so that the [DEBUG] line prints the kind as a number.
constexpr int kAnswerKind = robocomm::kKindAnswer;

bool isDirectory(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(fs::status(path, ignored));
}

// The archive is read twice, once for the digest of what is sent and once to
// send it, so that only a piece of it is held at a time.
void sendArchive(robocomm::ArchivePayload& archive, const std::string& archiveName) {
    robocomm::logOut() << "[DEBUG] dataLength (" << archive.fileSize() << ") is within the allowed maximum size ("
                       << MAX_SIZE_LOG << ").";
    robocomm::logOut() << "[DEBUG] Creating JSON log data using compressedFileName: " << archiveName;
    robocomm::logOut() << "[DEBUG] Preparing to send JSON log data. Data length: " << archive.fileSize()
                       << ", getLogDataIdx: " << kLogDataCode << ", objectRes: " << kAnswerKind;
    if (robocomm::openMessage()) {
        archive.start();
        robocomm::sendStreamLayout(archive, archive.payloadSize(), static_cast<char>(kLogDataCode),
                                   static_cast<char>(kAnswerKind));
    }
    robocomm::logOut() << "[DEBUG] sendLargeJsonDataLog call completed.";
}

}  // namespace

bool robocomm::logArchiveFits(int64_t size) {
    return static_cast<uint64_t>(size) <= MAX_SIZE_LOG;
}

std::string compressFolderToTarGz(const std::string& folderPath) {
    // The archive path goes to tar unquoted, so a blank in it breaks the
    // command; the -C operands are quoted the way a path writes itself.
    const std::string archivePath = folderPath + ".tar.gz";
    const fs::path folder(folderPath);
    std::ostringstream command;
    command << "tar -czf " << archivePath << " -C " << folder.parent_path() << " " << folder.filename();
    if (std::system(command.str().c_str()) != 0) {
        throw std::runtime_error("Failed to create tar.gz file.");
    }
    return archivePath;
}

CompressedFile_t readCompressedFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file.is_open()) {
        throw std::runtime_error("Failed to open compressed file: " + path);
    }
    const int64_t size = file.tellg();
    file.seekg(0, std::ios::beg);
    std::string data(static_cast<size_t>(size), '\0');
    if (!file.read(data.data(), size)) {
        throw std::runtime_error("Failed to read data from compressed file: " + path);
    }
    return CompressedFile_t{std::move(data), size};
}

bool resGetLogData(const std::string& folderPath) {
    if (!isDirectory(folderPath)) {
        robocomm::logErr() << "Folder does not exist: " << folderPath;
        return false;
    }
    try {
        const std::string archivePath = compressFolderToTarGz(folderPath);
        robocomm::ArchivePayload archive(archivePath);
        const std::string archiveName = fs::path(archivePath).filename().string();
        if (robocomm::logArchiveFits(archive.fileSize())) {
            sendArchive(archive, archiveName);
        } else {
            robocomm::logOut() << "[DEBUG] dataLength (" << archive.fileSize() << ") exceeds MAX_SIZE_LOG ("
                               << MAX_SIZE_LOG << "). Skipping send.";
        }
        fs::remove(archivePath);
        return true;
    } catch (const std::exception& e) {
        robocomm::logErr() << "Error: " << e.what();
        return false;
    }
}
