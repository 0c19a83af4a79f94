// Files and logs: the encrypted map-edit store, applying and reading the
// stored map edit, and the log bundle sent to the client.
#pragma once

#include <cstdint>
#include <string>

#include <json/value.h>

#include "robocomm/export.h"
#include "robocomm/records.h"

// The one file of the encrypted store, "/home/tarvin/MapEdit.bin" unless
// the host sets it before start_server(). The receive thread writes it on
// every map-edit command (code 71), enciphered with the global key: a host
// that reads it (API_FileRead, API_FileDataApply, API_FileDataRead) before
// start_server() must derive the key first with API_GenerateKey(). C linkage
// keeps the symbol a plain name despite the string's ABI tag.
ROBOCOMM_C_BEGIN
ROBOCOMM_API extern std::string mapEditFilePath;
ROBOCOMM_C_END

// Largest log archive that is sent (200 MiB).
constexpr uint64_t MAX_SIZE_LOG = 209715200;

// A whole file read into memory, with its size as measured when opened.
struct CompressedFile_t {
    std::string data;
    int64_t size;
};

// These entry points keep plain names although they return C++ types: the
// host links against those names and shares our standard library build, so
// clang's warning about C linkage returning a class does not apply here.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
ROBOCOMM_C_BEGIN
// Writes the 16 IV bytes, then the AES-128-CBC ciphertext of data. Ends the
// process with status 1 when the file cannot be opened.
ROBOCOMM_API void API_FileSave(const std::string& data, const std::string& path, const unsigned char* key,
                               const unsigned char* iv);
// The plaintext, or empty on failure. Throws std::length_error for a file
// shorter than its IV.
ROBOCOMM_API std::string API_FileRead(const std::string& path, const unsigned char* key);
ROBOCOMM_API bool API_FileExist(const std::string& path);
ROBOCOMM_API void API_FileDelete(const std::string& path);
// Unencrypted, for the host's own use.
ROBOCOMM_API void saveStringToFile(const std::string& path, const std::string& text);

// Re-posts the stored map edit into globalSetByPassOne, as if just received.
ROBOCOMM_API bool API_FileDataApply();
// Parses the stored map edit into out; the mailbox is left alone.
ROBOCOMM_API bool API_FileDataRead(ByPassOneData_t* out);

// Answers LogData (code 26, polled with reqGetLogData): packs the folder
// with tar into <folder>.tar.gz beside it, streams the archive and removes
// it. Blocks about 100 ms per 1400 bytes sent (a 1 MiB archive: 75 s).
ROBOCOMM_API bool resGetLogData(const std::string& folderPath);
ROBOCOMM_API std::string compressFolderToTarGz(const std::string& folderPath);
ROBOCOMM_API CompressedFile_t readCompressedFile(const std::string& path);
ROBOCOMM_C_END
#ifdef __clang__
#pragma clang diagnostic pop
#endif

ROBOCOMM_API Json::Value createJsonLogData(const std::string& name, const unsigned char* data, unsigned long length);
ROBOCOMM_API Json::Value createJsonLogDataFile(const std::string& name, const unsigned char* data,
                                               unsigned long length, const std::string& outputPath);
