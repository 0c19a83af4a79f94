// Base64 into memory the caller owns, for documents that place the text
// straight into their output.
#pragma once

#include <cstddef>

namespace robocomm {

// Characters the encoding of `length` bytes takes, padding included.
constexpr size_t base64Length(size_t length) { return (length + 2) / 3 * 4; }

// Writes exactly base64Length(length) characters at `out`.
void base64EncodeTo(const unsigned char* data, size_t length, char* out);

}  // namespace robocomm
