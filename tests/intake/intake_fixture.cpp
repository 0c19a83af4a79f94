#include "intake_fixture.h"

#include "intake/mailbox_list.h"
#include "robocomm/intake.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

namespace intaketest {

std::string message(uint8_t code, const std::string& body) { return std::string(1, static_cast<char>(code)) + body; }

robotest::CapturedOutput parseMessage(uint8_t code, const std::string& body) {
    return captureOutput([&] { parseData(message(code, body)); });
}

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
    enableEnc = 0;
    clientfd = -1;
    clearAllMailboxes();
}

}  // namespace intaketest
