// The mailbox globals and their clear operations.
#include "intake/mailbox_access.h"
#include "intake/mailbox_list.h"
#include "robocomm/intake.h"

namespace robocomm {

std::mutex& mailboxMutex() {
    static std::mutex mutex;
    return mutex;
}

namespace {

// Value-initialising the whole record zeroes every number, empties every text
// and list and drops the pending byte.
template <class Mailbox>
void resetMailbox(Mailbox& mailbox) {
    mailbox = Mailbox{};
}

}  // namespace
}  // namespace robocomm

#define ROBOCOMM_DEFINE_MAILBOX(mailbox, clear, ...) \
    decltype(mailbox) mailbox;                       \
    void clear() { robocomm::resetMailbox(mailbox); }

ROBOCOMM_FLAG_MAILBOXES(ROBOCOMM_DEFINE_MAILBOX)
ROBOCOMM_VALUE_MAILBOXES(ROBOCOMM_DEFINE_MAILBOX)
ROBOCOMM_TRANSFORMED_MAILBOXES(ROBOCOMM_DEFINE_MAILBOX)

#undef ROBOCOMM_DEFINE_MAILBOX

TextMailbox globalGetIntegrationMapData;
TextMailbox globalGetIntegrationModifiedMapData;

OTADataMailbox globalOTAdata;

// The image and its digest belong to the firmware stream of the receive loop;
// only what the OTAdata command wrote is cleared.
void clearGlobalSetOTAdata() {
    globalOTAdata.checksum.clear();
    globalOTAdata.data.clear();
    globalOTAdata.pending = 0;
}
