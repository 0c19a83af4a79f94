// The parser's log lines and the commands it carries out itself.
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <thread>

#include "intake/mailbox_access.h"
#include "intake_fixture.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"
#include "support/temp_dir.h"

namespace {

using intaketest::message;
using intaketest::parseMessage;

class ParserTest : public intaketest::IntakeTest {};

TEST_F(ParserTest, OTAAndFactoryResetAreLogged) {
    EXPECT_EQ(parseMessage(80, R"({"Request":{"Set":{"OTA":{"size":1,"checksum":"c"}}}})").out,
              "first Byte : 80\nfirst Byte : 80\n");
    EXPECT_EQ(parseMessage(83, "{}").out, "first Byte : 83\nsetFactoryResetIdx\n");
}

TEST_F(ParserTest, OTADataIsPostedOnlyWhenItMatchesItsDigest) {
    const std::string digest = calculateSHA256(std::string("abc"));
    auto output = parseMessage(81, R"({"Request":{"Set":{"OTA":{"data":"abc","checksum":")" + digest + R"("}}}})");
    EXPECT_EQ(output.out, "first Byte : 81\nsetOTADataIdx \nchecksum : " + digest + "\ncalculatedHash : " + digest +
                              "\nOTA Data : Pass\n");
    EXPECT_EQ(globalOTAdata.pending, 1);

    // A mismatch withdraws the one still pending.
    output = parseMessage(81, R"({"Request":{"Set":{"OTA":{"data":"abd","checksum":"00"}}}})");
    EXPECT_NE(output.out.find("OTA Data : Fail\n"), std::string::npos) << output.out;
    EXPECT_EQ(globalOTAdata.pending, 0);
}

// Standard output that, at every flushed line, asks another thread whether
// the mailbox lock is free.
class LockProbe : public std::stringbuf {
public:
    bool lockSeenHeld = false;

protected:
    int sync() override {
        std::thread([this] {
            if (robocomm::mailboxMutex().try_lock())
                robocomm::mailboxMutex().unlock();
            else
                lockSeenHeld = true;
        }).join();
        return 0;
    }
};

// The digest of a firmware text (lines written once it is computed) must not
// keep the host's polls waiting on the lock.
TEST_F(ParserTest, OTADataDigestIsComputedOutsideTheMailboxLock) {
    const std::string data(4096, 'a');
    const std::string body =
        R"({"Request":{"Set":{"OTA":{"data":")" + data + R"(","checksum":")" + calculateSHA256(data) + R"("}}}})";
    LockProbe probe;
    std::streambuf* const standardOut = std::cout.rdbuf(&probe);
    parseData(message(81, body));
    std::cout.rdbuf(standardOut);
    EXPECT_TRUE(probe.str().find("OTA Data : Pass\n") != std::string::npos);
    EXPECT_FALSE(probe.lockSeenHeld);
    EXPECT_EQ(globalOTAdata.pending, 1);
}

TEST_F(ParserTest, ByPassOneDataIsSavedThenParsedThenPosted) {
    robotest::TempDir dir;
    const std::string savedPath = mapEditFilePath;
    mapEditFilePath = dir.path() + "/MapEdit.bin";
    const std::string body = R"({"Request":{"Set":{"ByPass":{"info":{"uid":"u-7"},"block_area":[{"id":"a"}]}}}})";
    const auto output = parseMessage(71, body);
    const std::string stored = API_FileRead(mapEditFilePath, key);
    mapEditFilePath = savedPath;

    EXPECT_EQ(output.out, "first Byte : 71\nparseBypassOneData : " + message(71, body) +
                              "\nData encrypted and saved to " + dir.path() +
                              "/MapEdit.bin\nrobot_path is null in block_area\nBypass One Data parsed. UID: u-7\n");
    EXPECT_EQ(stored, body);
    ByPassOneData_t edit;
    EXPECT_EQ(reqSetByPassOneData(&edit), 1);
    EXPECT_EQ(edit.uid, "u-7");
}

}  // namespace
