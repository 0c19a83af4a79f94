// The command parser on arbitrary messages. The low bit of the first input
// byte chooses whether frames are enciphered; the rest is the message as the
// receive loop hands it over: command code, then body.
#include <cstdint>
#include <string>

#include "robocomm/intake.h"
#include "robocomm/security.h"
#include "sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    robofuzz::enterSandbox();
    if (size == 0) return 0;
    enableEnc = data[0] & 1;
    const std::string message(reinterpret_cast<const char*>(data + 1), size - 1);
    robofuzz::runReceivePass([&] { parseData(message); });
    return 0;
}
