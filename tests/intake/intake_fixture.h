// Shared by the intake tests: parsing one message with its output captured,
// and a fixture that starts every test from empty mailboxes.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/output_capture.h"

namespace intaketest {

using robotest::captureOutput;

// Code byte followed by the body, as the receive loop hands it over.
std::string message(uint8_t code, const std::string& body);
// Both streams of parsing one message.
robotest::CapturedOutput parseMessage(uint8_t code, const std::string& body);

// Every mailbox, the firmware image included, back to its load-time state.
void clearAllMailboxes();

// Encryption off, no client: answers the parser sends itself fail with a
// message and are dropped.
class IntakeTest : public ::testing::Test {
protected:
    void SetUp() override;
};

}  // namespace intaketest
