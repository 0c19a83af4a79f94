// Records each write the program makes to std::cout and std::cerr, as the
// streams hand them on, to prove that a line reaches its stream in one piece
// (another thread's line cannot land in the middle of it then).
#pragma once

#include <iostream>
#include <streambuf>
#include <string>
#include <vector>

namespace robotest {

class StreamWrites {
public:
    StreamWrites();
    // Puts the streams' own buffers back.
    ~StreamWrites();
    StreamWrites(const StreamWrites&) = delete;
    StreamWrites& operator=(const StreamWrites&) = delete;

    // Every write so far, on either stream, in order.
    const std::vector<std::string>& writes() const { return recorder_.writes; }
    // The writes that are not one or more whole lines.
    std::vector<std::string> brokenLines() const;

private:
    struct Recorder : std::streambuf {
        std::vector<std::string> writes;
        std::streamsize xsputn(const char* text, std::streamsize count) override;
        int_type overflow(int_type c) override;
    };
    Recorder recorder_;
    std::streambuf* savedOut_;
    std::streambuf* savedErr_;
};

}  // namespace robotest
