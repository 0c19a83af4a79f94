#include "responses/document.h"

#include <json/writer.h>

#include <memory>
#include <sstream>

#include "link/frame.h"
#include "robocomm/link.h"

namespace robocomm {

std::string writeDocument(const Json::Value& document) {
    // One writer per thread, made once: a writer is not safe to share, and
    // the host may answer from several threads at once.
    thread_local const std::unique_ptr<Json::StreamWriter> writer(Json::StreamWriterBuilder().newStreamWriter());
    std::ostringstream text;
    writer->write(document, &text);
    return text.str();
}

// Keys are written sorted, so "data" opens its object, and nothing a caller
// passes is written before it: the first such member is the one.
size_t emptyDataEnd(const std::string& text) {
    static constexpr char kMember[] = "\"data\" : \"\"";
    return text.find(kMember) + sizeof kMember - 2;
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
