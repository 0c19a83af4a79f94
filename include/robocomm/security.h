// Payload security: the AES-128-CBC frame cipher, its key material, base64
// and SHA-256 helpers.
#pragma once

#include <string>
#include <vector>

#include "robocomm/export.h"
#include "robocomm/records.h"

// Cipher failure codes reported by handleErrors.
enum EncryptionError {
    CipherContextFailed = 1,
    DecryptInitFailed = 2,
    DecryptUpdateFailed = 3,
    DecryptFinalFailed = 4,
    EncryptInitFailed = 5,
    EncryptUpdateFailed = 6,
    EncryptFinalFailed = 7,
};

// Pass phrase the key and IV are derived from; both ends of the link share it.
// C linkage keeps the symbol a plain name despite the string's ABI tag.
ROBOCOMM_C_BEGIN
ROBOCOMM_API extern std::string password;
ROBOCOMM_C_END
// Derived at run time by start_server or API_GenerateKey; zero until then.
ROBOCOMM_API extern unsigned char key[16];
ROBOCOMM_API extern unsigned char iv[16];
// Non-zero: frames are enciphered in both directions.
ROBOCOMM_API extern unsigned char enableEnc;

ROBOCOMM_API void generateKeyAndIV(const std::string& passPhrase, unsigned char* key, unsigned char* iv);
ROBOCOMM_API void encryptData(const unsigned char* data, unsigned long length, std::vector<unsigned char>& out,
                              unsigned char* key, unsigned char* iv);
ROBOCOMM_API void encryptData(const std::string& plain, std::vector<unsigned char>& out, unsigned char* key,
                              unsigned char* iv);
// Empty on any failure.
ROBOCOMM_API std::string decryptData(const std::string& cipher, unsigned char* key, unsigned char* iv);
ROBOCOMM_API void handleErrors(EncryptionError code);

ROBOCOMM_API std::string base64Encode(const unsigned char* data, unsigned long length);
ROBOCOMM_API std::vector<unsigned char> base64Decode(const std::string& text);
// 64 lowercase hexadecimal digits.
ROBOCOMM_API std::string calculateSHA256(const std::string& data);
ROBOCOMM_API std::string calculateSHA256(const std::vector<unsigned char>& data);
// The 32 raw digest bytes.
ROBOCOMM_API std::vector<unsigned char> compute_sha256(const unsigned char* data, unsigned long length);
ROBOCOMM_API bool verifySHA256(const std::string& data, const std::string& checksum);
ROBOCOMM_API bool verifySHA256(const PGMMapData_t& record);
ROBOCOMM_API bool validateOTAData(const otadataB_t& record);
ROBOCOMM_API void printHex(const unsigned char* data, unsigned long length);

ROBOCOMM_C_BEGIN
// Re-derives key and iv from password.
ROBOCOMM_API void API_GenerateKey();
// Keeps the low byte only: 0 (or 256) turns frame encryption off.
ROBOCOMM_API void APISetEnc(int value);
ROBOCOMM_C_END
