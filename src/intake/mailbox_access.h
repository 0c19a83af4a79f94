// How the parser and the polls touch a mailbox.
//
// The pending byte is written after the parameters and read before them. On
// its own that protocol leaves a text or list torn when a command lands while
// the host is copying the same mailbox, so every fill and every hand-over also
// holds one lock. An idle poll only reads the byte and never takes the lock.
#pragma once

#include <cstdint>
#include <mutex>

namespace robocomm {

std::mutex& mailboxMutex();

inline uint8_t loadPending(const uint8_t& pending) { return __atomic_load_n(&pending, __ATOMIC_ACQUIRE); }

inline void storePending(uint8_t& pending, uint8_t value) { __atomic_store_n(&pending, value, __ATOMIC_RELEASE); }

// The poll skeleton: when the mailbox is pending, hand it over with
// `handOver(mailbox)`, clear it and return the byte read; otherwise return 0
// without touching anything.
template <class Mailbox, class HandOver>
uint8_t takeMailbox(Mailbox& mailbox, void (*clear)(), HandOver&& handOver) {
    if (loadPending(mailbox.pending) == 0) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(mailboxMutex());
    // Re-read under the lock: a second host thread may have taken it meanwhile.
    const uint8_t pending = mailbox.pending;
    if (pending != 0) {
        handOver(mailbox);
        clear();
    }
    return pending;
}

}  // namespace robocomm
