#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "robocomm/security.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

std::vector<unsigned char> fromHex(const std::string& hex) {
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string textOf(const std::vector<unsigned char>& bytes) { return {bytes.begin(), bytes.end()}; }

std::vector<unsigned char> encrypt(const std::string& plain) {
    std::vector<unsigned char> out;
    encryptData(plain, out, key, iv);
    return out;
}

class Cipher : public testing::Test {
protected:
    void SetUp() override { API_GenerateKey(); }
};

TEST(KeyMaterial, StartsUnderivedWithEncryptionOn) {
    // A fresh process: the other tests here derive the key.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool zero = std::all_of(key, key + 16, [](unsigned char b) { return b == 0; }) &&
                              std::all_of(iv, iv + 16, [](unsigned char b) { return b == 0; });
            std::exit(zero && enableEnc == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(KeyMaterial, PassPhraseHasTheSharedShape) {
    // Ten letters, '#', three digits.
    ASSERT_EQ(password.size(), 14u);
    EXPECT_EQ(password[10], '#');
    EXPECT_TRUE(std::all_of(password.begin(), password.begin() + 10, [](char c) { return std::isalpha(c) != 0; }));
    EXPECT_TRUE(std::all_of(password.begin() + 11, password.end(), [](char c) { return std::isdigit(c) != 0; }));
}

TEST(KeyMaterial, KeyAndIvAreTheHalvesOfThePhrasesDigest) {
    unsigned char derivedKey[16];
    unsigned char derivedIv[16];
    generateKeyAndIV("abc", derivedKey, derivedIv);
    EXPECT_EQ(std::vector<unsigned char>(derivedKey, derivedKey + 16), fromHex("ba7816bf8f01cfea414140de5dae2223"));
    EXPECT_EQ(std::vector<unsigned char>(derivedIv, derivedIv + 16), fromHex("b00361a396177a9cb410ff61f20015ad"));

    API_GenerateKey();
    const std::vector<unsigned char> digest =
        compute_sha256(reinterpret_cast<const unsigned char*>(password.data()), password.size());
    EXPECT_TRUE(std::equal(key, key + 16, digest.begin()));
    EXPECT_TRUE(std::equal(iv, iv + 16, digest.begin() + 16));
}

TEST(KeyMaterial, SetEncKeepsTheLowByteOnly) {
    const unsigned char saved = enableEnc;
    const std::pair<int, unsigned char> cases[] = {{0, 0}, {1, 1}, {256, 0}, {257, 1}, {255, 255}, {-1, 255}, {512, 0}};
    for (const auto& [value, stored] : cases) {
        APISetEnc(value);
        EXPECT_EQ(enableEnc, stored) << value;
    }
    enableEnc = saved;
}

TEST_F(Cipher, CiphertextIsPaddedToWholeBlocks) {
    const std::pair<size_t, size_t> sizes[] = {{0, 16}, {1, 16}, {15, 16}, {16, 32}, {17, 32}, {32, 48}, {1000, 1008}};
    for (const auto& [plain, cipher] : sizes) EXPECT_EQ(encrypt(std::string(plain, 'x')).size(), cipher) << plain;
}

TEST_F(Cipher, MatchesTheNistCbcVectorAndPadsWithAFullBlock) {
    // NIST SP 800-38A, F.2.1 CBC-AES128.Encrypt.
    unsigned char nistKey[16];
    unsigned char nistIv[16];
    const auto k = fromHex("2b7e151628aed2a6abf7158809cf4f3c");
    const auto v = fromHex("000102030405060708090a0b0c0d0e0f");
    std::copy(k.begin(), k.end(), nistKey);
    std::copy(v.begin(), v.end(), nistIv);
    const auto plain = fromHex(
        "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
        "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
    const auto expected = fromHex(
        "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
        "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7");
    std::vector<unsigned char> cipher;
    encryptData(plain.data(), plain.size(), cipher, nistKey, nistIv);
    ASSERT_EQ(cipher.size(), 80u);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), cipher.begin()));
    EXPECT_EQ(decryptData(textOf(cipher), nistKey, nistIv), textOf(plain));
}

TEST_F(Cipher, BothEncryptFormsAgreeAndReuseTheIv) {
    const std::string text = "{\"Request\":{\"Get\":{}}}";
    std::vector<unsigned char> fromBytes;
    encryptData(reinterpret_cast<const unsigned char*>(text.data()), text.size(), fromBytes, key, iv);
    EXPECT_EQ(encrypt(text), fromBytes);
    EXPECT_EQ(encrypt(text), encrypt(text));
}

TEST_F(Cipher, DecryptionRestoresAnyBytes) {
    const std::string cases[] = {
        "",
        std::string("\0", 1),
        std::string("a\0b\0\0c", 6),
        std::string(16, '\0'),
        std::string(32768, '\x7f'),
        "{\"Request\":{\"Set\":{\"Driving\":{\"set\":1}}}}",
    };
    for (const std::string& plain : cases) EXPECT_EQ(decryptData(textOf(encrypt(plain)), key, iv), plain);
}

TEST_F(Cipher, FailedDecryptionIsEmptyAndReported) {
    const std::string valid = textOf(encrypt("{\"Request\":{}}"));
    unsigned char otherKey[16];
    unsigned char otherIv[16];
    generateKeyAndIV("otherPhrase#000", otherKey, otherIv);
    struct Case {
        const char* name;
        std::string cipher;
        unsigned char* key;
    };
    const Case cases[] = {
        {"empty", "", key},
        {"short block", valid.substr(0, 15), key},
        {"not a multiple of 16", valid + "x", key},
        {"wrong key", valid, otherKey},
    };
    for (const Case& c : cases) {
        CaptureStderr();
        const std::string plain = decryptData(c.cipher, c.key, iv);
        EXPECT_EQ(GetCapturedStderr(), "EVP_DecryptFinal_ex 실패\n") << c.name;
        EXPECT_EQ(plain, "") << c.name;
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
        CaptureStderr();
        handleErrors(static_cast<EncryptionError>(code));
        EXPECT_EQ(GetCapturedStderr(), prefix + message) << code;
    }
}

}  // namespace
