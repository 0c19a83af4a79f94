// Shared by the intake tests: output capture of one call, message building and a fixture
// that starts every test from empty mailboxes with encryption off.
#pragma once

#include <gtest/gtest.h>
#include <json/value.h>

#include <cstdint>
#include <string>

#include "support/output_capture.h"

namespace intaketest {

using robotest::captureOutput;

// {"Request":{"Set":{key: params}}} as compact text.
std::string requestText(const char* key, const Json::Value& params);
// Code byte followed by the body, as the receive loop hands it over.
std::string message(uint8_t code, const std::string& body);

// Every mailbox, the firmware image included, back to its load-time state.
void clearAllMailboxes();

class IntakeTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    unsigned char savedEnableEnc_ = 0;
    int savedClientFd_ = 0;
};

}  // namespace intaketest
