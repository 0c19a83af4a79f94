// The command parser on arbitrary messages. First input byte: its low bit
// chooses whether frames are enciphered; with encryption on, the next bit
// enciphers the body here first, so that the parser behind the decryption is
// reached as often as the decryption's own failures. The rest is the message
// as the receive loop hands it over: command code, then body.
#include <cstdint>
#include <string>
#include <vector>

#include "robocomm/intake.h"
#include "robocomm/security.h"
#include "sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    robofuzz::enterSandbox();
    if (size == 0) return 0;
    enableEnc = data[0] & 1;
    std::string message(reinterpret_cast<const char*>(data + 1), size - 1);
    if (enableEnc != 0 && (data[0] & 2) != 0 && !message.empty()) {
        std::vector<unsigned char> cipher;
        encryptData(message.substr(1), cipher, key, iv);
        message.resize(1);
        message.append(cipher.begin(), cipher.end());
    }
    robofuzz::runReceivePass([&] { parseData(message); });
    return 0;
}
