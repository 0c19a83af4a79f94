// The log archive as the client receives it, read from its file in pieces
// and enciphered on the way when enableEnc is set: the log bundle is sent
// without ever being held whole, however large the archive.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "link/tcp_streams.h"

namespace robocomm {

class ArchivePayload : public PayloadSource {
public:
    // Opens the archive and measures it; throws "Failed to open compressed
    // file: " and the path, as readCompressedFile does.
    explicit ArchivePayload(const std::string& path);
    // The archive's size as measured when opened.
    int64_t fileSize() const { return fileSize_; }
    // What the client is announced: the archive's size, or its ciphertext's
    // once start() was called with encryption on (0 when the cipher could not
    // be set up, which then yields nothing).
    long long payloadSize() const;

    // Reads from the first byte, enciphering when enableEnc is set: the cipher
    // is set up here, after the message has been opened.
    void start();
    // A read that fails or ends before the measured size throws "Failed to
    // read data from compressed file: " and the path.
    size_t read(const unsigned char*& at, size_t most) override;
    void restart() override;

private:
    void rewind();
    void refill();

    std::string path_;
    std::ifstream file_;
    int64_t fileSize_ = 0;
    int64_t plainRead_ = 0;
    std::optional<EncryptStream> cipher_;
    std::vector<unsigned char> plain_;
    std::vector<unsigned char> enciphered_;
    const unsigned char* pending_ = nullptr;
    size_t pendingCount_ = 0;
    bool ended_ = false;
};

}  // namespace robocomm
