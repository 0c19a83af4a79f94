// The robot's enciphered payloads opened without a word on stderr: the
// library's own decryption reports each failure there, and a robot's bad
// data must reach the operator in the tools' words alone.
#pragma once

#include <optional>
#include <string>

namespace robocomm::tools {

// AES-128-CBC with PKCS#7 padding, as the link enciphers; nullopt when the
// bytes are not such a cipher text under this key (wrong pass phrase, cut
// short, plain text).
std::optional<std::string> decipher(const std::string& cipherText, const unsigned char (&key)[16],
                                    const unsigned char (&iv)[16]);

}  // namespace robocomm::tools
