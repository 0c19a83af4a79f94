// Any text decodes without fault, to at most three bytes per four characters,
// and whatever the decoder accepts survives a round trip.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "robocomm/security.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<unsigned char> bytes = base64Decode(text);
    if (bytes.size() > size / 4 * 3 + 2) std::abort();
    const std::string encoded = base64Encode(bytes.data(), bytes.size());
    if (base64Decode(encoded) != bytes) std::abort();
    return 0;
}
