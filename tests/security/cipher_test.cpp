#include <gtest/gtest.h>

#include "robocomm/security.h"
#include "security/hex.h"

namespace {

std::string textOf(const std::vector<unsigned char>& bytes) { return {bytes.begin(), bytes.end()}; }

std::vector<unsigned char> encrypt(const std::string& plain) {
    std::vector<unsigned char> out;
    encryptData(plain, out, key, iv);
    return out;
}

TEST(KeyMaterial, KeyAndIvAreTheHalvesOfThePhrasesDigest) {
    unsigned char derived[32];
    generateKeyAndIV("abc", derived, derived + 16);
    EXPECT_EQ(robocomm::hexText(derived, 32), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(KeyMaterial, SetEncKeepsTheLowByteOnly) {
    APISetEnc(256);
    EXPECT_EQ(enableEnc, 0);
    APISetEnc(257);
    EXPECT_EQ(enableEnc, 1);
}

TEST(Cipher, IsAes128CbcWithAFullPaddingBlock) {
    // NIST SP 800-38A, F.2.1 CBC-AES128.Encrypt, first block.
    unsigned char nistKey[] = "\x2b\x7e\x15\x16\x28\xae\xd2\xa6\xab\xf7\x15\x88\x09\xcf\x4f\x3c";
    unsigned char nistIv[] = "\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f";
    const unsigned char plain[] = "\x6b\xc1\xbe\xe2\x2e\x40\x9f\x96\xe9\x3d\x7e\x11\x73\x93\x17\x2a";
    std::vector<unsigned char> cipher;
    encryptData(plain, 16, cipher, nistKey, nistIv);
    EXPECT_EQ(robocomm::hexText(cipher.data(), cipher.size()),
              "7649abac8119b246cee98e9b12e9197d8964e0b149c10b7b682e6e39aaeb731c");
}

TEST(Cipher, DecryptionRestoresAnyBytes) {
    const std::pair<std::string, size_t> cases[] = {
        {"", 16},
        {std::string("a\0b\0\0c", 6), 16},
        {std::string(16, '\0'), 32},
    };
    for (const auto& [plain, cipherSize] : cases) {
        const std::vector<unsigned char> cipher = encrypt(plain);
        EXPECT_EQ(cipher.size(), cipherSize);
        EXPECT_EQ(decryptData(textOf(cipher), key, iv), plain);
    }
}

TEST(Cipher, FailedDecryptionIsEmptyAndReported) {
    const std::string valid = textOf(encrypt("{\"Request\":{}}"));
    unsigned char wrongKey[16] = {1};
    const std::pair<std::string, unsigned char*> cases[] = {{"", key}, {valid + "x", key}, {valid, wrongKey}};
    for (const auto& [cipher, cipherKey] : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(decryptData(cipher, cipherKey, iv), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "EVP_DecryptFinal_ex 실패\n");
    }
}

TEST(HandleErrors, PrintsPrefixAndTheCodesMessage) {
    const std::string prefix = "An error occurred during the encryption/decryption process. ";
    const std::pair<int, std::string> cases[] = {
        {1, "[Error Code: 1] Failed to create EVP_CIPHER_CTX.\n"},
        {2, "[Error Code: 2] Decryption initialization failed.\n"},
        {3, "[Error Code: 3] Decryption update failed.\n"},
        {4, "[Error Code: 4] Decryption finalization failed.\n"},
        {5, "[Error Code: 5] Encryption initialization failed.\n"},
        {6, "[Error Code: 6] Encryption update failed.\n"},
        {7, "[Error Code: 7] Encryption finalization failed.\n"},
        {0, ""},
        {8, ""},
    };
    for (const auto& [code, message] : cases) {
        testing::internal::CaptureStderr();
        handleErrors(static_cast<EncryptionError>(code));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), prefix + message) << code;
    }
}

}  // namespace
