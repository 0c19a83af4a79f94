#include "support/stream_writes.h"

namespace robotest {

StreamWrites::StreamWrites() : savedOut_(std::cout.rdbuf(&recorder_)), savedErr_(std::cerr.rdbuf(&recorder_)) {}

StreamWrites::~StreamWrites() {
    std::cout.rdbuf(savedOut_);
    std::cerr.rdbuf(savedErr_);
}

std::vector<std::string> StreamWrites::brokenLines() const {
    std::vector<std::string> broken;
    for (const std::string& write : recorder_.writes)
        if (write.empty() || write.back() != '\n') broken.push_back(write);
    return broken;
}

// Without a put area every character that is not part of a bulk write comes
// here on its own, so a line built from several insertions shows as pieces.
std::streamsize StreamWrites::Recorder::xsputn(const char* text, std::streamsize count) {
    writes.emplace_back(text, static_cast<size_t>(count));
    return count;
}

StreamWrites::Recorder::int_type StreamWrites::Recorder::overflow(int_type c) {
    if (!traits_type::eq_int_type(c, traits_type::eof())) writes.emplace_back(1, traits_type::to_char_type(c));
    return traits_type::not_eof(c);
}

}  // namespace robotest
