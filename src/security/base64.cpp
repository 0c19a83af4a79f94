// Base64 (RFC 4648 alphabet) for binary fields inside JSON documents. The
// decoder is tolerant: it stops silently at padding or at the first character
// outside the alphabet, and missing padding is accepted.
#include <cctype>
#include <cstdint>

#include "robocomm/security.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Appends the first `count` sextets of a 24-bit group, highest first.
void appendSextets(std::string& text, uint32_t group, int count) {
    for (int k = 0; k < count; ++k) text += kAlphabet[(group >> (18 - 6 * k)) & 0x3F];
}

// Appends the first `count` of the three bytes four alphabet positions carry.
void appendOctets(std::vector<unsigned char>& bytes, const unsigned char* p, size_t count) {
    const unsigned char octets[3] = {
        static_cast<unsigned char>((p[0] << 2) + ((p[1] >> 4) & 3)),
        static_cast<unsigned char>(((p[1] & 15) << 4) + ((p[2] >> 2) & 15)),
        static_cast<unsigned char>(((p[2] & 3) << 6) + p[3]),
    };
    bytes.insert(bytes.end(), octets, octets + count);
}

bool isBase64Char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '/'; }

}  // namespace

std::string base64Encode(const unsigned char* data, unsigned long length) {
    std::string text;
    text.reserve(4 * (length / 3 + (length % 3 != 0 ? 1 : 0)));
    unsigned long i = 0;
    for (; i + 3 <= length; i += 3) appendSextets(text, uint32_t{data[i]} << 16 | data[i + 1] << 8 | data[i + 2], 4);
    if (length - i == 1) {
        appendSextets(text, uint32_t{data[i]} << 16, 2);
        text += "==";
    } else if (length - i == 2) {
        appendSextets(text, uint32_t{data[i]} << 16 | data[i + 1] << 8, 3);
        text += '=';
    }
    return text;
}

std::vector<unsigned char> base64Decode(const std::string& text) {
    static const std::string alphabet(kAlphabet);
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    unsigned char group[4] = {0, 0, 0, 0};
    size_t filled = 0;
    for (char c : text) {
        if (!isBase64Char(c)) break;
        // A letter of a non-default locale is not in the alphabet: it maps to
        // 0xff, truncated like every position.
        group[filled++] = static_cast<unsigned char>(alphabet.find(c));
        if (filled == 4) {
            appendOctets(bytes, group, 3);
            filled = 0;
        }
    }
    if (filled > 0) {
        for (size_t k = filled; k < 4; ++k) group[k] = 0;
        appendOctets(bytes, group, filled - 1);
    }
    return bytes;
}
