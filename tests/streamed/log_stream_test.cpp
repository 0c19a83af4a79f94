// The log bundle read twice from its file, for the digest and to send it, puts
// on the wire exactly what the whole archive sent at once gives, with the same
// lines, at every length class around multiples of 16 and of 1400 (the part
// count's digest bytes make remainders 1369 to 1399 throw after the earlier
// packets), encrypted and plain.
#include <gtest/gtest.h>

#include <stdexcept>

#include "capture.h"
#include "files/archive_payload.h"
#include "files/file_bytes.h"
#include "link/tcp_streams.h"
#include "robocomm/files.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/temp_dir.h"

namespace streamtest {
namespace {

class StreamedLog : public EitherEncryption {
protected:
    robotest::TempDir dir_;
};

INSTANTIATE_TEST_SUITE_P(PlainAndEncrypted, StreamedLog, testing::Values(0, 1));

// Sends the archive file the way resGetLogData does; a length error reaches
// the caller as "thrown".
void sendArchiveFile(const std::string& path, std::string& thrown) {
    try {
        if (!robocomm::openMessage()) return;
        robocomm::ArchivePayload archive(path);
        archive.start();
        robocomm::sendStreamLayout(archive, archive.payloadSize(), 26, 2);
    } catch (const std::length_error& error) {
        thrown = error.what();
    }
}

void sendWholeArchive(const std::string& bytes, std::string& thrown) {
    try {
        sendLargeJsonDataLog(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()), 26,
                             2);
    } catch (const std::length_error& error) {
        thrown = error.what();
    }
}

TEST_P(StreamedLog, ArchiveFromItsFileIsTheWholeArchiveSent) {
    // Plain payloads are the archive; enciphered ones round it up to the next
    // block, so 1383 gives a 1392-byte payload inside the throwing range.
    const size_t lengths[] = {0,    1,    15,   16,   17,   31,    32,    33,    1367,  1368,  1369,  1370,
                              1383, 1384, 1398, 1399, 1400, 1401,  2767,  2768,  2769,  2799,  2800,  2801,
                              4200, 4201, 4232, 5568, 5569, 65535, 65536, 65537, 65552, 140000, 140001};
    for (const size_t length : lengths) {
        SCOPED_TRACE(length);
        const std::string archive = randomBytes(length, static_cast<unsigned>(length) + 11);
        const std::string path = dir_.path() + "/logs.tar.gz";
        robotest::writeBytes(path, archive);
        std::string streamedError;
        std::string wholeError;
        const Sent streamed = sendThrough([&] { sendArchiveFile(path, streamedError); });
        const Sent whole = sendThrough([&] { sendWholeArchive(archive, wholeError); });

        const std::string payload = payloadOf(archive);
        EXPECT_TRUE(streamed.wire == streamWire(payload, 26, 2)) << "the bundle's bytes differ";
        EXPECT_TRUE(whole.wire == streamed.wire);
        EXPECT_EQ(streamed.out, whole.out);
        EXPECT_EQ(streamed.err, whole.err);
        const bool throws = payload.size() % 1400 >= 1369;
        EXPECT_EQ(streamedError, throws ? "cannot create std::vector larger than max_size()" : "");
        EXPECT_EQ(wholeError, streamedError);
    }
}

// Through the answer function: the archive of a folder arrives with the
// digest of what was sent, and the lines around the packets are the same.
TEST_P(StreamedLog, LogDataAnswerSendsTheArchiveOfTheFolder) {
    robotest::writeBytes(dir_.path() + "/logs/robot.log", randomBytes(300000, 5));
    const Sent sent = sendThrough([&] { EXPECT_TRUE(resGetLogData(dir_.path() + "/logs")); });
    ASSERT_GE(sent.wire.size(), 42u);
    const std::string payload = sent.wire.substr(42);
    EXPECT_TRUE(sent.wire == streamWire(payload, 26, 2));
    const std::string archive = enableEnc ? decryptData(payload, key, iv) : payload;
    EXPECT_EQ(archive.substr(0, 2), "\x1f\x8b") << "not a gzip archive";
    const std::string size = std::to_string(archive.size());
    EXPECT_EQ(sent.out.substr(0, sent.out.find("sendLargeJsonData #1")),
              "[DEBUG] dataLength (" + size + ") is within the allowed maximum size (209715200).\n"
              "[DEBUG] Creating JSON log data using compressedFileName: logs.tar.gz\n"
              "[DEBUG] Preparing to send JSON log data. Data length: " + size + ", getLogDataIdx: 26, objectRes: 2\n");
    EXPECT_NE(sent.out.find("Large JSON data sent to client\n[DEBUG] sendLargeJsonDataLog call completed.\n"),
              std::string::npos);
    EXPECT_FALSE(API_FileExist(dir_.path() + "/logs.tar.gz"));
}

}  // namespace
}  // namespace streamtest
