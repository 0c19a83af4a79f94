// Key material of the frame cipher: one key and one IV, derived from a fixed
// pass phrase and shared by every frame in both directions.
#include <algorithm>

#include "robocomm/security.h"

// Both ends of the link derive the same key from this phrase.
std::string password = "silverMoth#528";
unsigned char key[16];
unsigned char iv[16];
unsigned char enableEnc = 1;

// Plain SHA-256 of the phrase, no salt or iteration: the client derives the
// same 32 bytes and splits them the same way.
void generateKeyAndIV(const std::string& passPhrase, unsigned char* key, unsigned char* iv) {
    const std::vector<unsigned char> digest =
        compute_sha256(reinterpret_cast<const unsigned char*>(passPhrase.data()), passPhrase.size());
    std::copy_n(digest.begin(), 16, key);
    std::copy_n(digest.begin() + 16, 16, iv);
}

void API_GenerateKey() { generateKeyAndIV(password, key, iv); }

void APISetEnc(int value) { enableEnc = static_cast<unsigned char>(value); }
