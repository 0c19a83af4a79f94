// The host's polls of the mailboxes that hand their parameters over as stored.
// Constant time and free of allocation, except OTA's checksum text.
#include "intake/mailbox_access.h"
#include "intake/mailbox_list.h"
#include "robocomm/intake.h"

namespace robocomm {
namespace {

void copyOut(const IntMailbox& m, int32_t* out) { *out = m.set; }
void copyOut(const BoolMailbox& m, bool* out) { *out = m.start; }
void copyOut(const SpeedMailbox& m, double* out) { *out = m.mS; }

void copyOut(const RPMMailbox& m, int32_t* out) {
    out[0] = m.leftRPM;
    out[1] = m.rightRPM;
}

void copyOut(const VWMailbox& m, double* out) {
    out[0] = m.mS;
    out[1] = m.radS;
}

void copyOut(const PoseMailbox& m, double* out) {
    out[0] = m.x;
    out[1] = m.y;
    out[2] = m.theta;
}

void copyOut(const RotationMailbox& m, Rotation_t* out) { *out = m; }
void copyOut(const TimeDataMailbox& m, TimeData_t* out) { *out = m; }
void copyOut(const OTAMailbox& m, OTAInfo_t* out) { *out = m; }

template <class Mailbox>
uint8_t pollFlag(Mailbox& mailbox, void (*clear)()) {
    return takeMailbox(mailbox, clear, [](const Mailbox&) {});
}

template <class Mailbox, class Out>
uint8_t pollValue(Mailbox& mailbox, void (*clear)(), Out out) {
    return takeMailbox(mailbox, clear, [out](const Mailbox& m) { copyOut(m, out); });
}

}  // namespace
}  // namespace robocomm

#define ROBOCOMM_DEFINE_FLAG_POLL(mailbox, clear, poll) \
    uint8_t poll() { return robocomm::pollFlag(mailbox, clear); }
#define ROBOCOMM_DEFINE_VALUE_POLL(mailbox, clear, poll, Out) \
    uint8_t poll(Out out) { return robocomm::pollValue(mailbox, clear, out); }

ROBOCOMM_FLAG_MAILBOXES(ROBOCOMM_DEFINE_FLAG_POLL)
ROBOCOMM_VALUE_MAILBOXES(ROBOCOMM_DEFINE_VALUE_POLL)

#undef ROBOCOMM_DEFINE_FLAG_POLL
#undef ROBOCOMM_DEFINE_VALUE_POLL

bool RecvErrorRes() { return robocomm::pollFlag(globalError, clearGlobalError) != 0; }
