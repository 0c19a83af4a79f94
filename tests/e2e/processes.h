// The two tools as separate processes: the demo host serving port 10001 and
// single runs of the client. Every wait is bounded; a process that overstays
// is killed.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace e2e {

using Millis = std::chrono::milliseconds;

struct ClientRun {
    int status = -1;  // exit status; -1 when killed at the timeout
    std::string out;
    std::string err;
};

// Runs robocomm-client with these arguments (and the host's --plain if asked).
ClientRun runClient(const std::vector<std::string>& args, Millis timeout = Millis(20000));

class DemoHost {
public:
    explicit DemoHost(bool plain);
    ~DemoHost();
    DemoHost(const DemoHost&) = delete;
    DemoHost& operator=(const DemoHost&) = delete;

    // True once the host announced that it serves.
    bool serving() const { return serving_; }
    const std::string& runFolder() const { return runFolder_; }
    // What the host wrote on its own output so far.
    std::string output() const;
    // Waits until the output holds `text`; false at the timeout or when the
    // host has ended.
    bool awaitOutput(const std::string& text, Millis timeout);
    // Sends SIGTERM and waits; the exit status, or -1 if it had to be killed.
    int stop(Millis patience = Millis(5000));

private:
    // Reaps the host if it has ended on its own.
    bool ended();

    robotest::TempDir folder_;
    std::string runFolder_;
    std::string outputPath_;
    pid_t pid_ = -1;
    int exitStatus_ = -1;
    bool serving_ = false;
};

}  // namespace e2e
