#include "responses/document.h"

#include <json/writer.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <streambuf>
#include <vector>

#include "link/frame.h"
#include "link/tcp_streams.h"
#include "robocomm/link.h"

namespace robocomm {

namespace {

// Passes what the writer streams straight into the text being built, which
// is then returned as it is instead of copied out of a string stream.
class TextSink : public std::streambuf {
public:
    void target(std::string* text) { text_ = text; }

protected:
    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof())) text_->push_back(traits_type::to_char_type(c));
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        text_->append(s, static_cast<size_t>(n));
        return n;
    }

private:
    std::string* text_ = nullptr;
};

// A writer with its stream, made once per thread: a writer is not safe to
// share, and the host may answer from several threads at once.
struct DocumentWriter {
    TextSink sink;
    std::ostream stream{&sink};
    const std::unique_ptr<Json::StreamWriter> writer{Json::StreamWriterBuilder().newStreamWriter()};
};

// Most answers fit, so they take one allocation.
constexpr size_t kFirstReserve = 512;
// Data characters written at once into a streamed answer: whole groups of
// base64, and a third of the bytes a whole frame carries.
constexpr size_t kDataPiece = 16384;

}  // namespace

std::string writeDocument(const Json::Value& document) {
    thread_local DocumentWriter writer;
    std::string text;
    text.reserve(kFirstReserve);
    writer.sink.target(&text);
    // A failure of an earlier text must not silence this one.
    writer.stream.clear();
    writer.writer->write(document, &writer.stream);
    return text;
}

// Keys are written sorted, so "data" opens its object, and nothing a caller
// passes is written before it: the first such member is the one.
size_t emptyDataEnd(const std::string& text) {
    static constexpr char kMember[] = "\"data\" : \"\"";
    return text.find(kMember) + sizeof kMember - 2;
}

bool writtenVerbatim(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
}

void sendAnswerWithData(const std::string& text, size_t length, const DataPiece& piece, int code) {
    const size_t at = emptyDataEnd(text);
    ChunkedMessage message(text.size() + length, static_cast<char>(code), static_cast<char>(kKindAnswer));
    bool live = message.write(text.data(), at);
    std::vector<char> scratch(live ? std::min(length, kDataPiece) : 0);
    for (size_t from = 0; live && from < length; from += kDataPiece) {
        const size_t count = std::min(kDataPiece, length - from);
        live = message.write(piece(scratch.data(), from, count), count);
    }
    if (live) message.write(text.data() + at, text.size() - at);
    message.finish();
}

// Codes above 127 (the 251 and 252 set commands) keep their byte on the wire
// through the char parameter of the sender.
void sendAnswer(const std::string& text, int code) {
    sendLargeJsonData(text, static_cast<char>(code), static_cast<char>(kKindAnswer));
}

void sendPush(const std::string& text, int code) {
    sendLargeJsonData(text, static_cast<char>(code), static_cast<char>(kKindPush));
}

}  // namespace robocomm
