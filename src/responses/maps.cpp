// Map state and map images; images travel as base64 text inside the JSON.
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
    const std::string text = answerDocument("ModifiedMapData", [&](Json::Value& body) {
        body["width"] = width;
        body["height"] = height;
        body["data"] = "";
    });
    return withBase64Data(text, data, size);
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

void resGetMapStatus(bool mapping, const std::string& data) { sendAnswer(createJsonMapStatus(mapping, data), 14); }

void resGetMapDataS(const std::string& data, double width, double height, double resolution, double posX, double posY) {
    sendAnswer(createJsonMapDataS(width, height, resolution, posX, posY, data), 15);
}

// The geometry line lets the console confirm what an image answer carried
// without dumping the image.
void resGetMapDataB(const unsigned char* data, unsigned long size, double width, double height, double resolution,
                    double posX, double posY) {
    std::cout << "Width: " << width << ", Height: " << height << ", Resolution: " << resolution << ", posX: " << posX
              << ", posY: " << posY << std::endl;
    sendAnswer(createJsonMapDataC(width, height, resolution, posX, posY, data, size), 15);
}

void resGetLidarData(double front, double rear) { sendAnswer(createJsonLidarData(front, rear), 16); }

void resGetModifiedMapData(const std::string& data) { sendAnswer(createJsonModifiedMapData(data), 17); }

void resGetModifiedMapDataB(const unsigned char* data, unsigned long size, double width, double height) {
    std::cout << "Width: " << width << ", Height: " << height << std::endl;
    sendAnswer(createJsonModifiedMapDataC(width, height, data, size), 17);
}
