// The log bundle as a JSON document, for the host's own use; the answer to
// LogData streams the raw archive instead.
#include <fstream>

#include "responses/document.h"
#include "link/log_lines.h"
#include "robocomm/files.h"
#include "robocomm/security.h"

namespace {

// The document's text, with the base64 archive written from the document
// itself into the place of an empty "data" string rather than copied through
// the writer.
void writeLogText(std::ofstream& file, Json::Value& document) {
    Json::Value& data = document["Response"]["Get"]["LogData"]["data"];
    Json::Value encoded("");
    encoded.swap(data);
    const std::string text = robocomm::writeDocument(document);
    encoded.swap(data);
    const char* begin = nullptr;
    const char* end = nullptr;
    data.getString(&begin, &end);
    const size_t at = robocomm::emptyDataEnd(text);
    file.write(text.data(), static_cast<std::streamsize>(at));
    file.write(begin, end - begin);
    file.write(text.data() + at, static_cast<std::streamsize>(text.size() - at));
}

}  // namespace

Json::Value createJsonLogData(const std::string& name, const unsigned char* data, unsigned long length) {
    const std::string encoded = base64Encode(data, length);
    const std::string digest = calculateSHA256(std::string(reinterpret_cast<const char*>(data), length));
    Json::Value document;
    Json::Value& log = document["Response"]["Get"]["LogData"];
    log["name"] = name;
    log["sha256"] = digest;
    log["data"] = encoded;
    return document;
}

Json::Value createJsonLogDataFile(const std::string& name, const unsigned char* data, unsigned long length,
                                  const std::string& outputPath) {
    Json::Value document = createJsonLogData(name, data, length);
    std::ofstream file(outputPath, std::ios::binary | std::ios::trunc);
    if (!file.is_open()) {
        robocomm::logErr() << "JSON 파일을 저장할 수 없습니다: " << outputPath;
        return document;
    }
    writeLogText(file, document);
    file.close();
    robocomm::logOut() << "JSON 파일 생성 완료: " << outputPath;
    return document;
}
