// Lowercase hexadecimal text of raw bytes, as digests are shown everywhere.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace robocomm {

// Two zero-filled lowercase digits per byte; the stream is left in decimal
// with its fill character restored.
void writeHex(std::ostream& out, const unsigned char* data, size_t length);
std::string hexText(const unsigned char* data, size_t length);

}  // namespace robocomm
