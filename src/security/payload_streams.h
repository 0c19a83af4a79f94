// Enciphering and hashing a payload piece by piece, so that a large answer
// never needs its whole ciphertext in memory. CBC with one fixed key and IV
// makes the pieces' output, joined, byte for byte that of one whole pass.
#pragma once

#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <memory>

namespace robocomm {

// AES-128-CBC with PKCS#7 padding, as encryptData.
class EncryptStream {
public:
    // On a failure to set up, reports it in encryptData's words; ok() is then
    // false and the stream yields nothing, as encryptData leaves nothing.
    EncryptStream(const unsigned char* key, const unsigned char* iv);
    bool ok() const { return context_ != nullptr; }
    // Writes the ciphertext the next `length` bytes complete, at most
    // length + 15 bytes, at `out`; returns its length.
    size_t update(const unsigned char* data, size_t length, unsigned char* out);
    // Writes the padded last block, 16 bytes, at `out`; returns its length.
    size_t finish(unsigned char* out);

    // The ciphertext length of `plainLength` bytes: padding adds 1 to 16.
    static size_t cipherLength(size_t plainLength) { return plainLength / 16 * 16 + 16; }

private:
    struct Free {
        void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
    };
    std::unique_ptr<EVP_CIPHER_CTX, Free> context_;
};

// SHA-256 over bytes given in pieces, equal to compute_sha256 of them joined.
class DigestStream {
public:
    DigestStream();
    void update(const unsigned char* data, size_t length);
    std::array<unsigned char, 32> finish();

private:
    struct Free {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> context_;
};

}  // namespace robocomm
