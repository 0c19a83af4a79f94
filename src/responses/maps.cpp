// Map state and map images; images travel as base64 text inside the JSON.
#include <algorithm>
#include <iostream>

#include "responses/document.h"
#include "robocomm/responses.h"
#include "security/base64.h"

using robocomm::answerDocument;
using robocomm::sendAnswer;

namespace {

// The base64 of the bytes placed into `text`'s empty "data" string.
std::string withBase64Data(const std::string& text, const unsigned char* data, unsigned long size) {
    return robocomm::withDataText(text, robocomm::base64Length(size),
                                  [&](char* out) { robocomm::base64EncodeTo(data, size, out); });
}

// The modified map's document with an empty "data" string.
std::string modifiedMapShell(double width, double height) {
    return answerDocument("ModifiedMapData", [&](Json::Value& body) {
        body["width"] = width;
        body["height"] = height;
        body["data"] = "";
    });
}

// Sends `text` with the base64 of the bytes in its empty "data" string, as
// withBase64Data makes it, encoded piece by piece while it is sent.
void sendWithBase64Data(const std::string& text, const unsigned char* data, unsigned long size, int code) {
    robocomm::sendAnswerWithData(text, robocomm::base64Length(size), [&](char* scratch, size_t from, size_t count) {
        const size_t first = from / 4 * 3;
        robocomm::base64EncodeTo(data + first, std::min<size_t>(count / 4 * 3, size - first), scratch);
        return scratch;
    }, code);
}

// A text the host prepared (usually base64 already) is sent while the
// document is written when the writer would copy it unchanged; otherwise its
// escapes are the writer's to make, from the whole document.
template <typename Build>
void sendWithTextData(const std::string& data, int code, Build build) {
    if (!robocomm::writtenVerbatim(data)) return sendAnswer(build(data), code);
    robocomm::sendAnswerWithData(build(std::string()), data.size(),
                                 [&](char*, size_t from, size_t) { return data.data() + from; }, code);
}

}  // namespace

std::string createJsonMapStatus(bool mapping, const std::string& data) {
    return answerDocument("MapStatus", [&](Json::Value& body) {
        body["mapping"] = mapping;
        body["data"] = data;
    });
}

std::string createJsonMapDataS(double width, double height, double resolution, double posX, double posY,
                               const std::string& data) {
    return answerDocument("MapData", [&](Json::Value& body) {
        body["width"] = width;
        body["height"] = height;
        body["resolution"] = resolution;
        body["posX"] = posX;
        body["posY"] = posY;
        body["data"] = data;
    });
}

std::string createJsonMapDataC(double width, double height, double resolution, double posX, double posY,
                               const unsigned char* data, unsigned long size) {
    return withBase64Data(createJsonMapDataS(width, height, resolution, posX, posY, std::string()), data, size);
}

std::string createJsonIntegrationMapData(const unsigned char* data, unsigned long size) {
    return withBase64Data(answerDocument("MapData", [&](Json::Value& body) { body["data"] = ""; }), data, size);
}

std::string createJsonModifiedMapData(const std::string& data) {
    return answerDocument("ModifiedMapData", [&](Json::Value& body) { body["data"] = data; });
}

std::string createJsonModifiedMapDataC(double width, double height, const unsigned char* data, unsigned long size) {
    return withBase64Data(modifiedMapShell(width, height), data, size);
}

std::string createJsonIntegrationModifiedMapDataC(const unsigned char* data, unsigned long size) {
    return withBase64Data(createJsonModifiedMapData(std::string()), data, size);
}

std::string createJsonLidarData(double front, double rear) {
    return answerDocument("LidarData", [&](Json::Value& body) {
        body["front"] = front;
        body["rear"] = rear;
    });
}

void resGetMapStatus(bool mapping, const std::string& data) {
    sendWithTextData(data, 14, [&](const std::string& text) { return createJsonMapStatus(mapping, text); });
}

void resGetMapDataS(const std::string& data, double width, double height, double resolution, double posX, double posY) {
    sendWithTextData(data, 15, [&](const std::string& text) {
        return createJsonMapDataS(width, height, resolution, posX, posY, text);
    });
}

// The geometry line lets the console confirm what an image answer carried
// without dumping the image.
void resGetMapDataB(const unsigned char* data, unsigned long size, double width, double height, double resolution,
                    double posX, double posY) {
    std::cout << "Width: " << width << ", Height: " << height << ", Resolution: " << resolution << ", posX: " << posX
              << ", posY: " << posY << std::endl;
    sendWithBase64Data(createJsonMapDataS(width, height, resolution, posX, posY, std::string()), data, size, 15);
}

void resGetLidarData(double front, double rear) { sendAnswer(createJsonLidarData(front, rear), 16); }

void resGetModifiedMapData(const std::string& data) { sendWithTextData(data, 17, createJsonModifiedMapData); }

void resGetModifiedMapDataB(const unsigned char* data, unsigned long size, double width, double height) {
    std::cout << "Width: " << width << ", Height: " << height << std::endl;
    sendWithBase64Data(modifiedMapShell(width, height), data, size, 17);
}
