#include "responses/document.h"

#include <json/writer.h>

#include "link/frame.h"
#include "robocomm/link.h"

namespace robocomm {

std::string writeDocument(const Json::Value& document) {
    const Json::StreamWriterBuilder writer;
    return Json::writeString(writer, document);
}

// Codes above 127 (the 251 and 252 set commands) keep their byte on the wire
// through the char parameter of the sender.
void sendAnswer(const std::string& text, int code) {
    sendLargeJsonData(text, static_cast<char>(code), static_cast<char>(kKindAnswer));
}

void sendPush(const std::string& text, int code) {
    sendLargeJsonData(text, static_cast<char>(code), static_cast<char>(kKindPush));
}

}  // namespace robocomm
