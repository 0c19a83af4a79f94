// Base64 (RFC 4648 alphabet) for binary fields inside JSON documents. The
// decoder is tolerant: it stops silently at padding or at the first character
// outside the alphabet, and missing padding is accepted.
#include "security/base64.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "robocomm/security.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Decoder classes beside the positions 0 to 63.
constexpr uint8_t kStop = 0x80;
// A byte above ASCII: a letter only in a locale the host may have set, where
// it is accepted but has no position in the alphabet.
constexpr uint8_t kAskLocale = 0x81;
constexpr uint8_t kNoPosition = 0xff;

constexpr std::array<uint8_t, 256> decodeTable() {
    std::array<uint8_t, 256> table{};
    for (size_t c = 0; c < 256; ++c) table[c] = c < 0x80 ? kStop : kAskLocale;
    for (uint8_t position = 0; position < 64; ++position) table[static_cast<uint8_t>(kAlphabet[position])] = position;
    return table;
}
constexpr std::array<uint8_t, 256> kPositions = decodeTable();

// Positions shifted to their place in a 24-bit group, one table per character
// of the group; anything outside the alphabet sets a bit above the group.
constexpr uint32_t kOutsideGroup = uint32_t{1} << 24;
constexpr std::array<std::array<uint32_t, 256>, 4> shiftedTables() {
    std::array<std::array<uint32_t, 256>, 4> tables{};
    for (size_t slot = 0; slot < 4; ++slot)
        for (size_t c = 0; c < 256; ++c)
            tables[slot][c] = kPositions[c] < 64 ? uint32_t{kPositions[c]} << (18 - 6 * slot) : kOutsideGroup;
    return tables;
}
constexpr std::array<std::array<uint32_t, 256>, 4> kShifted = shiftedTables();

// The two characters of every 12-bit half of a group, so that a group of
// three bytes takes two look-ups.
constexpr std::array<char, 2 * 4096> pairTable() {
    std::array<char, 2 * 4096> table{};
    for (size_t half = 0; half < 4096; ++half) {
        table[2 * half] = kAlphabet[half >> 6];
        table[2 * half + 1] = kAlphabet[half & 0x3F];
    }
    return table;
}
constexpr std::array<char, 2 * 4096> kPairs = pairTable();

// The position of `c`, or kStop where decoding ends.
uint8_t positionOf(unsigned char c) {
    const uint8_t position = kPositions[c];
    if (position != kAskLocale) return position;
    return std::isalnum(c) ? kNoPosition : kStop;
}

// Appends the first `count` of the three bytes four positions carry, each
// truncated to 8 bits.
unsigned char* putOctets(unsigned char* out, const uint8_t* p, size_t count) {
    const unsigned char octets[3] = {
        static_cast<unsigned char>((p[0] << 2) + ((p[1] >> 4) & 3)),
        static_cast<unsigned char>(((p[1] & 15) << 4) + ((p[2] >> 2) & 15)),
        static_cast<unsigned char>(((p[2] & 3) << 6) + p[3]),
    };
    for (size_t k = 0; k < count; ++k) *out++ = octets[k];
    return out;
}

}  // namespace

namespace robocomm {

void base64EncodeTo(const unsigned char* data, size_t length, char* out) {
    size_t i = 0;
    for (; i + 3 <= length; i += 3, out += 4) {
        const uint32_t group = uint32_t{data[i]} << 16 | uint32_t{data[i + 1]} << 8 | data[i + 2];
        std::memcpy(out, &kPairs[2 * (group >> 12)], 2);
        std::memcpy(out + 2, &kPairs[2 * (group & 0xFFF)], 2);
    }
    if (i == length) return;
    const uint32_t group = uint32_t{data[i]} << 16 | (i + 1 < length ? uint32_t{data[i + 1]} << 8 : 0);
    out[0] = kAlphabet[group >> 18];
    out[1] = kAlphabet[(group >> 12) & 0x3F];
    out[2] = i + 1 < length ? kAlphabet[(group >> 6) & 0x3F] : '=';
    out[3] = '=';
}

}  // namespace robocomm

std::string base64Encode(const unsigned char* data, unsigned long length) {
    std::string text(robocomm::base64Length(length), '\0');
    robocomm::base64EncodeTo(data, length, text.data());
    return text;
}

std::vector<unsigned char> base64Decode(const std::string& text) {
    std::vector<unsigned char> bytes(text.size() / 4 * 3 + 2);
    unsigned char* out = bytes.data();
    const auto* in = reinterpret_cast<const unsigned char*>(text.data());
    const size_t size = text.size();
    size_t i = 0;
    // Whole groups of alphabet characters, the common case.
    for (; i + 4 <= size; i += 4, out += 3) {
        const uint32_t group =
            kShifted[0][in[i]] | kShifted[1][in[i + 1]] | kShifted[2][in[i + 2]] | kShifted[3][in[i + 3]];
        if (group >= kOutsideGroup) break;
        out[0] = static_cast<unsigned char>(group >> 16);
        out[1] = static_cast<unsigned char>(group >> 8);
        out[2] = static_cast<unsigned char>(group);
    }
    // From the first group holding anything else, one character at a time.
    uint8_t group[4] = {0, 0, 0, 0};
    size_t filled = 0;
    for (; i < size; ++i) {
        const uint8_t position = positionOf(in[i]);
        if (position == kStop) break;
        group[filled++] = position;
        if (filled == 4) {
            out = putOctets(out, group, 3);
            filled = 0;
        }
    }
    if (filled > 0) {
        for (size_t k = filled; k < 4; ++k) group[k] = 0;
        out = putOctets(out, group, filled - 1);
    }
    bytes.resize(static_cast<size_t>(out - bytes.data()));
    return bytes;
}
