// AES-128-CBC with PKCS#7 padding over OpenSSL's EVP interface. Failures are
// reported on stderr and leave the result as the failing step left it.
#include <openssl/evp.h>

#include <iostream>
#include <memory>

#include "link/log_lines.h"
#include "robocomm/security.h"
#include "security/payload_streams.h"

namespace {

struct CipherContextFree {
    void operator()(EVP_CIPHER_CTX* ctx) const { EVP_CIPHER_CTX_free(ctx); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherContextFree>;

void complain(const char* text) { robocomm::logErr() << text; }

// Decryption reports every failure through an empty result alone.
std::string failedDecryption(const char* text) {
    complain(text);
    return std::string();
}

size_t blockSize() { return static_cast<size_t>(EVP_CIPHER_get_block_size(EVP_aes_128_cbc())); }

const char* const kErrorTexts[] = {
    "[Error Code: 1] Failed to create EVP_CIPHER_CTX.",
    "[Error Code: 2] Decryption initialization failed.",
    "[Error Code: 3] Decryption update failed.",
    "[Error Code: 4] Decryption finalization failed.",
    "[Error Code: 5] Encryption initialization failed.",
    "[Error Code: 6] Encryption update failed.",
    "[Error Code: 7] Encryption finalization failed.",
};

}  // namespace

// EVP counts in int: a length beyond INT_MAX is passed on as that count.
void encryptData(const unsigned char* data, unsigned long length, std::vector<unsigned char>& out,
                 unsigned char* key, unsigned char* iv) {
    CipherContext ctx(EVP_CIPHER_CTX_new());
    if (!ctx) return complain("EVP_CIPHER_CTX 초기화 실패");
    if (EVP_EncryptInit_ex(ctx.get(), EVP_aes_128_cbc(), nullptr, key, iv) != 1)
        return complain("EVP_EncryptInit_ex 실패");
    out.resize(length + blockSize());
    int updated = 0;
    if (EVP_EncryptUpdate(ctx.get(), out.data(), &updated, data, static_cast<int>(length)) != 1)
        return complain("EVP_EncryptUpdate 실패");
    int finished = 0;
    if (EVP_EncryptFinal_ex(ctx.get(), out.data() + updated, &finished) != 1)
        return complain("EVP_EncryptFinal_ex 실패");
    out.resize(static_cast<size_t>(updated) + static_cast<size_t>(finished));
}

void encryptData(const std::string& plain, std::vector<unsigned char>& out, unsigned char* key, unsigned char* iv) {
    encryptData(reinterpret_cast<const unsigned char*>(plain.data()), plain.size(), out, key, iv);
}

namespace robocomm {

EncryptStream::EncryptStream(const unsigned char* key, const unsigned char* iv) : context_(EVP_CIPHER_CTX_new()) {
    if (!context_) {
        complain("EVP_CIPHER_CTX 초기화 실패");
    } else if (EVP_EncryptInit_ex(context_.get(), EVP_aes_128_cbc(), nullptr, key, iv) != 1) {
        complain("EVP_EncryptInit_ex 실패");
        context_.reset();
    }
}

// Pieces stay far below INT_MAX, the most EVP takes in one count. Neither step
// fails for AES-CBC on a set-up context, so a failure is only reported.
size_t EncryptStream::update(const unsigned char* data, size_t length, unsigned char* out) {
    int written = 0;
    if (!context_ || EVP_EncryptUpdate(context_.get(), out, &written, data, static_cast<int>(length)) != 1) {
        if (context_) complain("EVP_EncryptUpdate 실패");
        return 0;
    }
    return static_cast<size_t>(written);
}

size_t EncryptStream::finish(unsigned char* out) {
    int written = 0;
    if (!context_ || EVP_EncryptFinal_ex(context_.get(), out, &written) != 1) {
        if (context_) complain("EVP_EncryptFinal_ex 실패");
        return 0;
    }
    return static_cast<size_t>(written);
}

}  // namespace robocomm

std::string decryptData(const std::string& cipher, unsigned char* key, unsigned char* iv) {
    CipherContext ctx(EVP_CIPHER_CTX_new());
    if (!ctx) return failedDecryption("EVP_CIPHER_CTX 초기화 실패");
    if (EVP_DecryptInit_ex(ctx.get(), EVP_aes_128_cbc(), nullptr, key, iv) != 1)
        return failedDecryption("EVP_DecryptInit_ex 실패");
    std::string plain(cipher.size() + blockSize(), '\0');
    auto* out = reinterpret_cast<unsigned char*>(&plain[0]);
    int updated = 0;
    if (EVP_DecryptUpdate(ctx.get(), out, &updated, reinterpret_cast<const unsigned char*>(cipher.data()),
                          static_cast<int>(cipher.size())) != 1)
        return failedDecryption("EVP_DecryptUpdate 실패");
    int finished = 0;
    if (EVP_DecryptFinal_ex(ctx.get(), out + updated, &finished) != 1)
        return failedDecryption("EVP_DecryptFinal_ex 실패");
    plain.resize(static_cast<size_t>(updated) + static_cast<size_t>(finished));
    return plain;
}

// Only reports: the file store carries on after a failed step. A code outside
// the table gets the prefix alone, not even a line end, as it always has.
void handleErrors(EncryptionError code) {
    const char* const prefix = "An error occurred during the encryption/decryption process. ";
    const int value = code;
    if (value >= CipherContextFailed && value <= EncryptFinalFailed)
        robocomm::logErr() << prefix << kErrorTexts[value - 1];
    else
        std::cerr << prefix;
}
