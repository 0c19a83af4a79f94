// The encrypted map-edit store: a 16-byte IV followed by the AES-128-CBC
// ciphertext of a text, plus the plain file helpers the host uses directly.
#include "robocomm/files.h"

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <vector>

#include <openssl/evp.h>

#include "link/log_lines.h"
#include "link/process_exit.h"
#include "robocomm/security.h"

std::string mapEditFilePath = "/home/tarvin/MapEdit.bin";

namespace {

constexpr int IV_SIZE = 16;
constexpr int BLOCK_SIZE = 16;

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

CipherContext newCipherContext() {
    return CipherContext(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
}

// Reports a failed EVP step through the shared cipher diagnostics.
bool cipherStepSucceeded(int result, EncryptionError code) {
    if (result == 1) {
        return true;
    }
    handleErrors(code);
    return false;
}

// Every failing step is only reported: the caller writes whatever the buffer
// holds.
std::vector<unsigned char> encryptForStore(const std::string& text, const unsigned char* key,
                                           const unsigned char* iv) {
    CipherContext ctx = newCipherContext();
    if (!ctx) {
        // The EVP steps would dereference the missing context; they are
        // reported as the failures they would be, and nothing is enciphered.
        for (EncryptionError code : {CipherContextFailed, EncryptInitFailed, EncryptUpdateFailed, EncryptFinalFailed}) {
            handleErrors(code);
        }
        return {};
    }
    std::vector<unsigned char> cipher(text.size() + BLOCK_SIZE);
    int updateLength = 0;
    int finalLength = 0;
    cipherStepSucceeded(EVP_EncryptInit_ex(ctx.get(), EVP_aes_128_cbc(), nullptr, key, iv), EncryptInitFailed);
    cipherStepSucceeded(EVP_EncryptUpdate(ctx.get(), cipher.data(), &updateLength,
                                          reinterpret_cast<const unsigned char*>(text.data()),
                                          static_cast<int>(text.size())),
                        EncryptUpdateFailed);
    cipherStepSucceeded(EVP_EncryptFinal_ex(ctx.get(), cipher.data() + updateLength, &finalLength),
                        EncryptFinalFailed);
    cipher.resize(static_cast<size_t>(updateLength) + static_cast<size_t>(finalLength));
    return cipher;
}

std::string decryptFromStore(const std::vector<unsigned char>& cipher, const unsigned char* key,
                             const unsigned char* fileIv) {
    CipherContext ctx = newCipherContext();
    if (!ctx) {
        robocomm::logErr() << "EVP_CIPHER_CTX 초기화 실패";
        return {};
    }
    if (!cipherStepSucceeded(EVP_DecryptInit_ex(ctx.get(), EVP_aes_128_cbc(), nullptr, key, fileIv),
                             DecryptInitFailed)) {
        return {};
    }
    std::vector<unsigned char> plain(cipher.size() + BLOCK_SIZE, 0);
    int updateLength = 0;
    int finalLength = 0;
    if (!cipherStepSucceeded(EVP_DecryptUpdate(ctx.get(), plain.data(), &updateLength, cipher.data(),
                                               static_cast<int>(cipher.size())),
                             DecryptUpdateFailed) ||
        !cipherStepSucceeded(EVP_DecryptFinal_ex(ctx.get(), plain.data() + updateLength, &finalLength),
                             DecryptFinalFailed)) {
        return {};
    }
    return std::string(plain.begin(), plain.begin() + updateLength + finalLength);
}

}  // namespace

void API_FileSave(const std::string& data, const std::string& path, const unsigned char* key,
                  const unsigned char* iv) {
    const std::vector<unsigned char> cipher = encryptForStore(data, key, iv);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file.is_open()) {
        // No error return exists for the caller: losing the map edit silently
        // is worse than stopping the robot's program.
        robocomm::logErr() << "Failed to open file for writing.";
        robocomm::endProcess();
    }
    file.write(reinterpret_cast<const char*>(iv), IV_SIZE);
    file.write(reinterpret_cast<const char*>(cipher.data()), static_cast<std::streamsize>(cipher.size()));
    file.close();
    robocomm::logOut() << "Data encrypted and saved to " << path;
}

std::string API_FileRead(const std::string& path, const unsigned char* key) {
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        robocomm::logErr() << "Failed to open file for reading.";
        return {};
    }
    unsigned char fileIv[IV_SIZE] = {};
    file.read(reinterpret_cast<char*>(fileIv), IV_SIZE);
    file.seekg(0, std::ios::end);
    const std::streamoff fileSize = file.tellg();
    file.seekg(IV_SIZE, std::ios::beg);
    // A file shorter than its IV leaves the stream failed and the size at -1;
    // the negative length is refused the way the buffer allocation refuses it.
    if (fileSize < IV_SIZE) {
        throw std::length_error("cannot create std::vector larger than max_size()");
    }
    std::vector<unsigned char> cipher(static_cast<size_t>(fileSize - IV_SIZE));
    file.read(reinterpret_cast<char*>(cipher.data()), static_cast<std::streamsize>(cipher.size()));
    file.close();
    return decryptFromStore(cipher, key, fileIv);
}

bool API_FileExist(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

void API_FileDelete(const std::string& path) {
    if (!API_FileExist(path)) {
        robocomm::logErr() << "File " << path << " does not exist.";
        return;
    }
    if (std::remove(path.c_str()) != 0) {
        robocomm::logErr() << "Failed to delete file " << path << ".";
        return;
    }
    robocomm::logOut() << "File " << path << " deleted successfully.";
}

void saveStringToFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::trunc);
    if (!file.is_open()) {
        robocomm::logErr() << "Unable to open file for writing: " << path;
        return;
    }
    file << text;
    file.close();
    robocomm::logOut() << "String successfully saved to " << path;
}
