// Diagnostic lines of the link: separators and whole-line writes.
#pragma once

#include <iostream>
#include <sstream>

namespace robocomm {

// Receive loop and inbound reassembly (error stream).
constexpr const char* kReceiveSeparator = "**********************************************************";
// TCP senders (standard output).
constexpr const char* kSendSeparator = "*************************************************************";

// One line, or a packet's group of lines joined by '\n', written and flushed
// in a single write when the object goes away, so that the receive thread and
// the host's senders never interleave in mid line. Numbers follow the
// stream's current base (hexadecimal once a jig message has switched standard
// output) and the locale the host gave it.
class LogLine {
public:
    explicit LogLine(std::ostream& stream) : stream_(stream) {
        text_.flags(stream.flags());
        text_.imbue(stream.getloc());
    }
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;
    ~LogLine() {
        text_ << '\n';
        stream_ << text_.str();
        stream_.flush();
    }

    template <typename T>
    LogLine& operator<<(const T& value) {
        text_ << value;
        return *this;
    }

private:
    std::ostream& stream_;
    std::ostringstream text_;
};

inline LogLine logOut() { return LogLine(std::cout); }
inline LogLine logErr() { return LogLine(std::cerr); }

}  // namespace robocomm
