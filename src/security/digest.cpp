// SHA-256 digests: raw, as lowercase hex text, and the integrity checks built
// on them.
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <iomanip>
#include <iostream>
#include <sstream>

#include "robocomm/security.h"
#include "security/hex.h"
#include "security/payload_streams.h"

namespace robocomm {

void writeHex(std::ostream& out, const unsigned char* data, size_t length) {
    const char fill = out.fill('0');
    out << std::hex;
    for (size_t i = 0; i < length; ++i) out << std::setw(2) << static_cast<unsigned>(data[i]);
    out << std::dec;
    out.fill(fill);
}

std::string hexText(const unsigned char* data, size_t length) {
    std::ostringstream text;
    writeHex(text, data, length);
    return text.str();
}

// Only an allocation failure stops a digest: it then comes out as zeros, and
// the client rejects the bundle instead of the host failing.
DigestStream::DigestStream() : context_(EVP_MD_CTX_new()) {
    if (context_ && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1) context_.reset();
}

void DigestStream::update(const unsigned char* data, size_t length) {
    if (context_) EVP_DigestUpdate(context_.get(), data, length);
}

std::array<unsigned char, 32> DigestStream::finish() {
    std::array<unsigned char, 32> digest{};
    if (context_) EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr);
    return digest;
}

}  // namespace robocomm

namespace {

std::string hexDigest(const unsigned char* data, size_t length) {
    const std::vector<unsigned char> digest = compute_sha256(data, length);
    return robocomm::hexText(digest.data(), digest.size());
}

const unsigned char* bytesOf(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

}  // namespace

std::vector<unsigned char> compute_sha256(const unsigned char* data, unsigned long length) {
    std::vector<unsigned char> digest(SHA256_DIGEST_LENGTH);
    SHA256(data, length, digest.data());
    return digest;
}

std::string calculateSHA256(const std::string& data) { return hexDigest(bytesOf(data), data.size()); }

std::string calculateSHA256(const std::vector<unsigned char>& data) { return hexDigest(data.data(), data.size()); }

// Case-sensitive on purpose: the client sends lowercase digests only.
bool verifySHA256(const std::string& data, const std::string& checksum) {
    const std::string calculated = calculateSHA256(data);
    std::cout << "checksum : " << checksum << std::endl;
    std::cout << "calculatedHash : " << calculated << std::endl;
    return calculated == checksum;
}

// The digest covers the base64 text as it came over the link, not the
// decoded map.
bool verifySHA256(const PGMMapData_t& record) { return calculateSHA256(record.data) == record.sha256; }

bool validateOTAData(const otadataB_t& record) {
    const std::string calculated = calculateSHA256(record.data);
    if (calculated == record.checksum) {
        std::cout << "OTA 데이터 검증 성공: checksum 일치" << std::endl;
        return true;
    }
    std::cout << "OTA 데이터 검증 실패: " << std::endl;
    std::cout << "계산된 checksum: " << calculated << std::endl;
    std::cout << "저장된 checksum: " << record.checksum << std::endl;
    return false;
}

void printHex(const unsigned char* data, unsigned long length) {
    robocomm::writeHex(std::cout, data, length);
    std::cout << std::endl;
}
