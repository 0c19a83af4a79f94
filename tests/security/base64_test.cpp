#include <gtest/gtest.h>

#include <random>

#include "robocomm/security.h"

namespace {

std::vector<unsigned char> bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

std::string encode(const std::string& text) {
    return base64Encode(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

struct Vector {
    std::string plain;
    std::string encoded;
};

// RFC 4648 section 10, plus bytes that reach the alphabet's last two symbols.
const Vector kVectors[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
    {"foobarx", "Zm9vYmFyeA=="},
    {"\xfb", "+w=="},
    {"\xfb\xff", "+/8="},
    {"\xff\xff\xff", "////"},
    {std::string("\0\0\0\0", 4), "AAAAAA=="},
};

TEST(Base64, EncodesStandardVectors) {
    for (const Vector& v : kVectors) EXPECT_EQ(encode(v.plain), v.encoded) << "input length " << v.plain.size();
}

TEST(Base64, DecodesStandardVectors) {
    for (const Vector& v : kVectors) EXPECT_EQ(base64Decode(v.encoded), bytesOf(v.plain)) << v.encoded;
}

TEST(Base64, DecodingStopsSilentlyAndToleratesMissingPadding) {
    const Vector cases[] = {
        {"fo", "Zm8"},            // padding left out
        {"foob", "Zm9vYg"},       // padding left out after a full group
        {"foo", "Zm9vY"},         // a single leftover character adds nothing
        {"", "Z"},                // ... also on its own
        {"foo", "Zm9v\nYmFy"},    // line break ends the text
        {"foo", "Zm9v YmFy"},     // so does a blank
        {"foo", "Zm9v=YmFy"},     // and padding in the middle
        {"f", "Zm*9v"},           // garbage after two characters
        {"foo", "Zm9v-_8"},       // URL-safe symbols are not in the alphabet
        {"foo", "Zm9v\xc3\xa9"},  // nor are non-ASCII bytes
        {"", "=Zm9v"},
    };
    for (const Vector& v : cases) EXPECT_EQ(base64Decode(v.encoded), bytesOf(v.plain)) << v.encoded;
}

TEST(Base64, DecodingStopsAtLineBreakAfterSeventySixCharacters) {
    std::vector<unsigned char> first(57);
    for (size_t i = 0; i < first.size(); ++i) first[i] = static_cast<unsigned char>(i * 7 + 1);
    const std::string line = base64Encode(first.data(), first.size());
    ASSERT_EQ(line.size(), 76u);
    EXPECT_EQ(base64Decode(line + "\r\n" + encode("more bytes")), first);
}

TEST(Base64, EncodesWithoutLineBreaksAndRoundTripsAnyBytes) {
    std::mt19937 generator(20240611);
    std::uniform_int_distribution<int> byte(0, 255);
    for (size_t length : {1u, 2u, 3u, 4u, 57u, 58u, 59u, 255u, 1000u, 4096u}) {
        std::vector<unsigned char> data(length);
        for (auto& b : data) b = static_cast<unsigned char>(byte(generator));
        const std::string text = base64Encode(data.data(), data.size());
        EXPECT_EQ(text.size(), (length + 2) / 3 * 4);
        EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
        EXPECT_EQ(base64Decode(text), data) << "length " << length;
    }
}

}  // namespace
