// Arbitrary ciphertext with the link's key: decryption either fails cleanly
// (empty result) or yields a plaintext that enciphers back to the input.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "robocomm/security.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool keyed = (API_GenerateKey(), true);
    (void)keyed;
    const std::string cipher(reinterpret_cast<const char*>(data), size);
    const std::string plain = decryptData(cipher, key, iv);
    if (plain.empty()) return 0;
    std::vector<unsigned char> again;
    encryptData(plain, again, key, iv);
    if (std::string(again.begin(), again.end()) != cipher) std::abort();
    return 0;
}
