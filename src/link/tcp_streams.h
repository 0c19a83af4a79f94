// Messages to the client sent while their payload is produced, so that an
// answer of any size holds only a frame or two: the chunked layout fed with
// text, and the stream layout read twice from a source (once for its digest,
// once to send it). The bytes on the wire and the lines logged are those of
// sending the whole payload at once.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "security/payload_streams.h"

namespace robocomm {

// Every message to the client opens with "sendLargeJsonData #1"; without a
// connected client "Invalid client socket" follows and this is false.
bool openMessage();

// One message in the chunked layout, its text given in pieces and enciphered
// on the way when enableEnc is set. Each frame leaves as soon as its slice is
// complete.
class ChunkedMessage {
public:
    // Opens the message (openMessage) for a text of `textLength` bytes.
    ChunkedMessage(size_t textLength, char identifier, char object);
    // The next piece of the text. False once the message is abandoned: there
    // is no client, or a send failed and the rest is not sent.
    bool write(const char* text, size_t length);
    // Sends the rest and logs "Large JSON data sent to client", unless the
    // message was abandoned.
    void finish();

private:
    void append(const unsigned char* payload, size_t length);
    unsigned char* cipherRoom(size_t coming);
    void placeCipher(const unsigned char* out, size_t length);
    void sendFrame();

    char identifier_;
    char object_;
    bool live_;
    std::optional<EncryptStream> cipher_;
    size_t payloadSize_ = 0;
    size_t parts_ = 0;
    size_t part_ = 1;
    size_t filled_ = 0;
    // Text bytes given to the cipher so far.
    size_t enciphered_ = 0;
    std::unique_ptr<unsigned char[]> frame_;
    // Ciphertext that does not fit the frame under way: a block more than a
    // piece of text.
    std::unique_ptr<unsigned char[]> cipherPiece_;
};

// A payload that can be read from its start more than once.
class PayloadSource {
public:
    virtual ~PayloadSource() = default;
    // Points `at` to the next bytes of the payload, at most `most` of them,
    // and returns their count: at least one while the payload has more.
    virtual size_t read(const unsigned char*& at, size_t most) = 0;
    // The next read starts at the payload's first byte again.
    virtual void restart() = 0;
};

// The rest of a message in the stream layout, once openMessage said yes:
// header, digest of the whole payload and 1400-byte slices, then the closing
// line. A slice that the part count places beyond the payload's end throws
// the vector's length error, after the packets before it went out.
void sendStreamLayout(PayloadSource& payload, long long payloadSize, char identifier, char object);

}  // namespace robocomm
