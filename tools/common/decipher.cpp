#include "common/decipher.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <climits>
#include <memory>

namespace robocomm::tools {

namespace {

struct ContextFree {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

}  // namespace

std::optional<std::string> decipher(const std::string& cipherText, const unsigned char (&key)[16],
                                    const unsigned char (&iv)[16]) {
    if (cipherText.size() > INT_MAX - 16) return std::nullopt;
    const std::unique_ptr<EVP_CIPHER_CTX, ContextFree> context(EVP_CIPHER_CTX_new());
    if (!context || EVP_DecryptInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key, iv) != 1) return std::nullopt;
    // The padding never makes the plain text longer than the cipher text.
    std::string plain(cipherText.size() + 16, '\0');
    auto* out = reinterpret_cast<unsigned char*>(plain.data());
    int updated = 0;
    int finished = 0;
    if (EVP_DecryptUpdate(context.get(), out, &updated, reinterpret_cast<const unsigned char*>(cipherText.data()),
                          static_cast<int>(cipherText.size())) != 1 ||
        EVP_DecryptFinal_ex(context.get(), out + updated, &finished) != 1) {
        // Left on the thread's queue, OpenSSL's record of the failure would only grow.
        ERR_clear_error();
        return std::nullopt;
    }
    plain.resize(static_cast<size_t>(updated) + static_cast<size_t>(finished));
    return plain;
}

}  // namespace robocomm::tools
