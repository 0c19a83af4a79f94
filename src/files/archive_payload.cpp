#include "files/archive_payload.h"

#include <algorithm>
#include <stdexcept>

#include "robocomm/security.h"

namespace robocomm {

namespace {

// Archive bytes read at once; with their ciphertext, all the bundle holds.
constexpr size_t kReadPiece = 65536;

}  // namespace

ArchivePayload::ArchivePayload(const std::string& path) : path_(path), file_(path, std::ios::binary | std::ios::ate) {
    if (!file_.is_open()) throw std::runtime_error("Failed to open compressed file: " + path);
    fileSize_ = file_.tellg();
}

long long ArchivePayload::payloadSize() const {
    if (!cipher_) return fileSize_;
    return cipher_->ok() ? static_cast<long long>(EncryptStream::cipherLength(static_cast<size_t>(fileSize_))) : 0;
}

void ArchivePayload::start() {
    plain_.resize(kReadPiece);
    if (enableEnc) {
        enciphered_.resize(kReadPiece + 16);
        cipher_.emplace(key, iv);
    }
    rewind();
}

// CBC with the fixed key and IV: a fresh cipher gives the same ciphertext again.
void ArchivePayload::restart() {
    if (cipher_ && cipher_->ok()) cipher_.emplace(key, iv);
    rewind();
}

void ArchivePayload::rewind() {
    file_.clear();
    file_.seekg(0, std::ios::beg);
    plainRead_ = 0;
    pendingCount_ = 0;
    ended_ = false;
}

size_t ArchivePayload::read(const unsigned char*& at, size_t most) {
    while (pendingCount_ == 0 && !ended_) refill();
    const size_t count = std::min(most, pendingCount_);
    at = pending_;
    pending_ += count;
    pendingCount_ -= count;
    return count;
}

// The next piece of the archive, and its ciphertext; the padded last block
// comes with the archive's end.
void ArchivePayload::refill() {
    const auto want = static_cast<std::streamsize>(std::min<int64_t>(kReadPiece, fileSize_ - plainRead_));
    if (want > 0 && !file_.read(reinterpret_cast<char*>(plain_.data()), want))
        throw std::runtime_error("Failed to read data from compressed file: " + path_);
    plainRead_ += want;
    ended_ = plainRead_ == fileSize_;
    pending_ = plain_.data();
    pendingCount_ = static_cast<size_t>(want);
    if (!cipher_) return;
    pending_ = enciphered_.data();
    pendingCount_ = cipher_->update(plain_.data(), static_cast<size_t>(want), enciphered_.data());
    if (ended_) pendingCount_ += cipher_->finish(enciphered_.data() + pendingCount_);
}

}  // namespace robocomm
