// Bringing the map edit back from a file of arbitrary contents. First input
// byte: its low bit chooses between the file as given (the rest of the input,
// read as IV and ciphertext) and the rest enciphered into the file by the
// store itself, so that the document parser behind the decryption is reached
// as well; the next bit chooses API_FileDataApply or API_FileDataRead.
#include <cstdint>
#include <fstream>
#include <string>

#include "robocomm/files.h"
#include "robocomm/security.h"
#include "sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    robofuzz::enterSandbox();
    if (size == 0) return 0;
    const std::string contents(reinterpret_cast<const char*>(data + 1), size - 1);
    if (data[0] & 1) {
        API_FileSave(contents, mapEditFilePath, key, iv);
    } else {
        std::ofstream(mapEditFilePath, std::ios::binary | std::ios::trunc) << contents;
    }
    if (data[0] & 2) {
        API_FileDataApply();
    } else {
        ByPassOneData_t read;
        API_FileDataRead(&read);
    }
    return 0;
}
