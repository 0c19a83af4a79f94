#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <iostream>

#include "robocomm/security.h"
#include "security/hex.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

const std::string kAbcDigest = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string kAbcDigestUpper = "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD";

std::vector<unsigned char> bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

std::string encode(const std::string& text) {
    return base64Encode(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

TEST(Base64, MatchesRfc4648BothWays) {
    // The encodings of the prefixes of "foobar", from the RFC's test vectors.
    const std::string foobar = "foobar";
    const std::string encodings[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    for (size_t length = 0; length <= foobar.size(); ++length) {
        EXPECT_EQ(encode(foobar.substr(0, length)), encodings[length]);
        EXPECT_EQ(base64Decode(encodings[length]), bytesOf(foobar.substr(0, length))) << encodings[length];
    }
    // Bytes that reach the alphabet's last two symbols.
    EXPECT_EQ(encode("\xfb\xff"), "+/8=");
    EXPECT_EQ(base64Decode("+/8="), bytesOf("\xfb\xff"));
}

TEST(Base64, EveryLengthEncodesInOneLineAndRoundTrips) {
    std::vector<unsigned char> data;
    for (size_t length = 0; length <= 100; ++length) {
        const std::string text = base64Encode(data.data(), data.size());
        EXPECT_EQ(text.size(), (length + 2) / 3 * 4);
        EXPECT_EQ(base64Decode(text), data) << "length " << length;
        data.push_back(static_cast<unsigned char>(length * 151 + 7));
    }
}

TEST(Base64, DecodingStopsSilentlyAndToleratesMissingPadding) {
    const std::pair<std::string, std::string> cases[] = {
        {"fo", "Zm8"},            // padding left out
        {"foo", "Zm9vY"},         // a single leftover character adds nothing
        {"foo", "Zm9v\r\nYmFy"},  // a line break ends the text
        {"foo", "Zm9v=YmFy"},     // and so does padding in the middle
        {"f", "Zm*9v"},           // or garbage
        {"foo", "Zm9v-_8"},       // URL-safe symbols are not in the alphabet
        {"foo", "Zm9v\xc3\xa9"},  // nor are non-ASCII bytes
    };
    for (const auto& [plain, encoded] : cases) EXPECT_EQ(base64Decode(encoded), bytesOf(plain)) << encoded;
}

// Every length from empty to several groups, against OpenSSL's block encoder.
TEST(Base64, EncodingMatchesOpenSslAtEveryLength) {
    std::vector<unsigned char> data;
    for (size_t length = 0; length <= 70; ++length) {
        std::string expected(4 * ((length + 2) / 3) + 1, '\0');
        expected.resize(static_cast<size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(expected.data()),
                                                            data.data(), static_cast<int>(length))));
        EXPECT_EQ(base64Encode(data.data(), data.size()), expected) << "length " << length;
        data.push_back(static_cast<unsigned char>(length * 89 + 200));
    }
}

// Cut anywhere before its padding and followed by any character outside the
// alphabet, an encoding yields the bytes its first k characters carry: three
// per whole group and one less than the characters of a partial one.
TEST(Base64, DecodingStopsAtEveryPositionOfEveryLength) {
    const std::string stops[] = {"=", "\n", " ", "*", "-", "_", "\x80", "\xc3\xa9", "\xff"};
    std::vector<unsigned char> data;
    for (size_t length = 0; length <= 70; ++length) {
        const std::string text = base64Encode(data.data(), data.size());
        const size_t unpadded = text.find('=') == std::string::npos ? text.size() : text.find('=');
        for (size_t k = 0; k <= unpadded; ++k) {
            const size_t carried = k / 4 * 3 + (k % 4 == 0 ? 0 : k % 4 - 1);
            const std::vector<unsigned char> expected(data.begin(), data.begin() + static_cast<long>(carried));
            EXPECT_EQ(base64Decode(text.substr(0, k)), expected) << text.substr(0, k);
            for (const std::string& stop : stops)
                EXPECT_EQ(base64Decode(text.substr(0, k) + stop + "QUJD"), expected) << text.substr(0, k) << stop;
        }
        data.push_back(static_cast<unsigned char>(length * 89 + 200));
    }
}

TEST(Digest, HexAndRawDigestsOfKnownMessages) {
    EXPECT_EQ(calculateSHA256(std::string()), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(calculateSHA256(std::string("a\0b", 3)), calculateSHA256(std::vector<unsigned char>{'a', 0, 'b'}));
    const std::vector<unsigned char> raw = compute_sha256(reinterpret_cast<const unsigned char*>("abc"), 3);
    EXPECT_EQ(robocomm::hexText(raw.data(), raw.size()), kAbcDigest);
}

TEST(Digest, VerifyPrintsBothDigestsAndMatchesLowercaseOnly) {
    const std::pair<std::string, bool> cases[] = {{kAbcDigest, true}, {kAbcDigestUpper, false}, {"", false}};
    for (const auto& [checksum, matches] : cases) {
        CaptureStdout();
        const bool result = verifySHA256("abc", checksum);
        EXPECT_EQ(GetCapturedStdout(), "checksum : " + checksum + "\ncalculatedHash : " + kAbcDigest + "\n");
        EXPECT_EQ(result, matches) << checksum;
    }
}

TEST(Digest, MapRecordIsCheckedOverItsBase64TextSilently) {
    CaptureStdout();
    EXPECT_TRUE(verifySHA256(PGMMapData_t{"map", calculateSHA256(std::string("YWJj")), "YWJj"}));
    EXPECT_FALSE(verifySHA256(PGMMapData_t{"map", kAbcDigest, "YWJj"}));
    EXPECT_EQ(GetCapturedStdout(), "");
}

TEST(Digest, OtaDataValidationReportsItsVerdict) {
    CaptureStdout();
    EXPECT_TRUE(validateOTAData(otadataB_t{kAbcDigest, {'a', 'b', 'c'}}));
    EXPECT_EQ(GetCapturedStdout(), "OTA 데이터 검증 성공: checksum 일치\n");
    CaptureStdout();
    EXPECT_FALSE(validateOTAData(otadataB_t{kAbcDigestUpper, {'a', 'b', 'c'}}));
    EXPECT_EQ(GetCapturedStdout(), "OTA 데이터 검증 실패: \n계산된 checksum: " + kAbcDigest +
                                       "\n저장된 checksum: " + kAbcDigestUpper + "\n");
}

TEST(Digest, PrintHexWritesLowercasePairsAndRestoresDecimal) {
    const unsigned char bytes[] = {0x00, 0x0f, 0xab, 0xff};
    CaptureStdout();
    printHex(bytes, sizeof bytes);
    std::cout << 255 << std::flush;
    EXPECT_EQ(GetCapturedStdout(), "000fabff\n255");
}

}  // namespace
