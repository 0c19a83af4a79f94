#include "intake_fixture.h"

#include <json/writer.h>

#include "intake/mailbox_list.h"
#include "robocomm/intake.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

namespace intaketest {

std::string requestText(const char* key, const Json::Value& params) {
    Json::Value document;
    document["Request"]["Set"][key] = params;
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, document);
}

std::string message(uint8_t code, const std::string& body) { return std::string(1, static_cast<char>(code)) + body; }

void clearAllMailboxes() {
#define INTAKETEST_CLEAR(mailbox, clear, ...) clear();
    ROBOCOMM_FLAG_MAILBOXES(INTAKETEST_CLEAR)
    ROBOCOMM_VALUE_MAILBOXES(INTAKETEST_CLEAR)
    ROBOCOMM_TRANSFORMED_MAILBOXES(INTAKETEST_CLEAR)
#undef INTAKETEST_CLEAR
    clearGlobalSetOTAdata();
    globalOTAdata.imageChecksum.clear();
    globalOTAdata.imageData.clear();
}

void IntakeTest::SetUp() {
    savedEnableEnc_ = enableEnc;
    savedClientFd_ = clientfd;
    enableEnc = 0;
    // Answers sent by the parser itself must not reach a descriptor of the
    // test runner; with no client they fail with a message and are dropped.
    clientfd = -1;
    clearAllMailboxes();
}

void IntakeTest::TearDown() {
    clearAllMailboxes();
    enableEnc = savedEnableEnc_;
    clientfd = savedClientFd_;
}

}  // namespace intaketest
