#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>

#include "robocomm/security.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

const std::string kEmptyDigest = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
const std::string kAbcDigest = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

TEST(Digest, HexDigestsOfKnownMessages) {
    EXPECT_EQ(calculateSHA256(std::string()), kEmptyDigest);
    EXPECT_EQ(calculateSHA256(std::vector<unsigned char>()), kEmptyDigest);
    EXPECT_EQ(calculateSHA256(std::string("abc")), kAbcDigest);
    EXPECT_EQ(calculateSHA256(std::vector<unsigned char>{'a', 'b', 'c'}), kAbcDigest);
}

TEST(Digest, TextDigestCoversEmbeddedZeroBytes) {
    const std::string withZero("a\0b", 3);
    EXPECT_NE(calculateSHA256(withZero), calculateSHA256(std::string("a")));
    EXPECT_EQ(calculateSHA256(withZero), calculateSHA256(std::vector<unsigned char>{'a', 0, 'b'}));
}

TEST(Digest, RawDigestIsTheHexDigestsBytes) {
    const std::vector<unsigned char> raw = compute_sha256(reinterpret_cast<const unsigned char*>("abc"), 3);
    ASSERT_EQ(raw.size(), 32u);
    EXPECT_EQ(raw.front(), 0xba);
    EXPECT_EQ(raw.back(), 0xad);
    EXPECT_EQ(compute_sha256(nullptr, 0).size(), 32u);
}

TEST(Digest, VerifyPrintsBothDigestsAndMatchesLowercaseOnly) {
    struct Case {
        std::string checksum;
        bool matches;
    };
    const Case cases[] = {
        {kAbcDigest, true},
        {upper(kAbcDigest), false},
        {kAbcDigest.substr(0, 63), false},
        {kAbcDigest + " ", false},
        {"", false},
    };
    for (const Case& c : cases) {
        CaptureStdout();
        const bool result = verifySHA256("abc", c.checksum);
        EXPECT_EQ(GetCapturedStdout(), "checksum : " + c.checksum + "\ncalculatedHash : " + kAbcDigest + "\n");
        EXPECT_EQ(result, c.matches) << c.checksum;
    }
}

TEST(Digest, MapRecordIsCheckedOverItsBase64TextSilently) {
    const PGMMapData_t asReceived{"map", calculateSHA256(std::string("YWJj")), "YWJj"};
    const PGMMapData_t ofDecoded{"map", kAbcDigest, "YWJj"};
    const PGMMapData_t uppercase{"map", upper(asReceived.sha256), "YWJj"};
    CaptureStdout();
    EXPECT_TRUE(verifySHA256(asReceived));
    EXPECT_FALSE(verifySHA256(ofDecoded));
    EXPECT_FALSE(verifySHA256(uppercase));
    EXPECT_EQ(GetCapturedStdout(), "");
}

TEST(Digest, OtaDataValidationReportsItsVerdict) {
    const otadataB_t good{kAbcDigest, {'a', 'b', 'c'}};
    CaptureStdout();
    EXPECT_TRUE(validateOTAData(good));
    EXPECT_EQ(GetCapturedStdout(), "OTA 데이터 검증 성공: checksum 일치\n");

    const otadataB_t bad{upper(kAbcDigest), {'a', 'b', 'c'}};
    CaptureStdout();
    EXPECT_FALSE(validateOTAData(bad));
    EXPECT_EQ(GetCapturedStdout(), "OTA 데이터 검증 실패: \n계산된 checksum: " + kAbcDigest +
                                       "\n저장된 checksum: " + bad.checksum + "\n");
}

TEST(Digest, PrintHexWritesLowercasePairsAndRestoresDecimal) {
    const unsigned char bytes[] = {0x00, 0x0f, 0xab, 0xff, 0x10};
    CaptureStdout();
    printHex(bytes, sizeof bytes);
    printHex(bytes, 0);
    std::cout << 255 << '|' << std::setw(3) << 7 << std::flush;
    EXPECT_EQ(GetCapturedStdout(), "000fabff10\n\n255|  7");
}

}  // namespace
