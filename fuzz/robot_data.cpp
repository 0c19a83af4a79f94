// The operator tools' reading of a robot: arbitrary bytes as a robot sends
// them, put back together into messages, each read as a document both as
// plain text and as cipher text under the built-in pass phrase, then read
// as the tools read answers. Every failure must be a tools::Failure with
// status 5 (bad data); anything else thrown, or a crash, is a finding.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/decipher.h"
#include "common/exchange.h"
#include "common/link.h"
#include "link/frame.h"
#include "robocomm/security.h"

using namespace robocomm::tools;

namespace {

void mustBeBadData(const Failure& failure) {
    if (failure.status() != Exit::BadData) std::abort();
}

void readAsTheToolsDo(const std::string& text, uint8_t code) {
    try {
        const Json::Value document = robotDocument(text, code, true);
        refused(document);
        numberAt(document, {"Emergency", "Send", "OTA", "progress"});
        memberAt(document, {"Response", "Get"}).isObject();
    } catch (const Failure& failure) {
        mustBeBadData(failure);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static unsigned char key[16], iv[16];
    static const bool keyed = (generateKeyAndIV(password, key, iv), true);
    (void)keyed;
    std::string stream(reinterpret_cast<const char*>(data), size);
    Reassembly reassembly;
    try {
        while (stream.size() >= robocomm::kHeaderSize) {
            const size_t frame = Reassembly::frameSize(stream);
            if (stream.size() < frame) break;
            const auto message = reassembly.add(stream.substr(0, frame));
            stream.erase(0, frame);
            if (!message) continue;
            readAsTheToolsDo(message->payload, message->code);
            if (const auto plain = decipher(message->payload, key, iv)) readAsTheToolsDo(*plain, message->code);
        }
    } catch (const Failure& failure) {
        mustBeBadData(failure);
    }
    return 0;
}
