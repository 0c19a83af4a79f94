// Touches every subsystem through the installed header and shared library;
// exits non-zero when anything the host relies on is missing or wrong.
#include <robocomm.h>

#include <cstdio>
#include <string>
#include <vector>

int main() {
    std::string version;
    APIGetVersion(version);

    API_GenerateKey();
    std::vector<unsigned char> cipher;
    encryptData(std::string("{}"), cipher, key, iv);
    const bool cipherOk = decryptData(std::string(cipher.begin(), cipher.end()), key, iv) == "{}";

    const std::string document = createJsonResult(51, true);
    const bool idle = reqGetPosition() == 0 && !RecvErrorRes();
    const bool jigIdle = jigDataArray[0].length == 0 && isValidCommand(29) && !isValidCommand(30);

    const bool ok = version == "0.32.2.1" && cipherOk && idle && jigIdle && !document.empty() &&
                    calculateSHA256(std::string()).size() == 64 && mapEditFilePath == "/home/tarvin/MapEdit.bin";
    std::printf("%s\n", ok ? "consumer ok" : "consumer FAILED");
    return ok ? 0 : 1;
}
