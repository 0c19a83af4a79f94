// The two tools as separate processes: the demo host serving port 10001 and
// single runs of the client. Every wait is bounded, and no child outlives
// its test: it is killed when its owner goes, and by the kernel when the
// test process dies first.
#pragma once

#include <gtest/gtest.h>
#include <json/value.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace e2e {

struct ClientRun {
    int status = -1;  // exit status; 137 when killed after 20 s
    std::string out;
    std::string err;
};

// `environment` entries ("NAME=value") are added to the client's own.
ClientRun runClient(const std::vector<std::string>& args, const std::vector<std::string>& environment = {});
// The same run on a pseudo-terminal (stdout and stderr together in out), as
// an operator sees it.
ClientRun runClientOnTerminal(const std::vector<std::string>& args);

// A client run in the background, for what happens while it runs.
class ClientProcess {
public:
    explicit ClientProcess(const std::vector<std::string>& args);
    ~ClientProcess();
    // False when its stderr does not hold `text` `times` times within 5 s.
    bool awaitNote(const std::string& text, size_t times = 1) const;
    // Ctrl-C, as the terminal sends it.
    void interrupt() const;
    // Waits (20 s at most, then kills) and collects its output.
    ClientRun finish();

private:
    robotest::TempDir folder_;
    pid_t pid_ = -1;
};

class DemoHost {
public:
    explicit DemoHost(bool plain = false);
    ~DemoHost() { stop(); }

    std::string runFolder() const { return folder_.path() + "/run"; }
    pid_t pid() const { return pid_; }
    // What the host wrote on its own terminal so far.
    std::string output() const;
    // False when the output does not hold `text` within 5 s.
    bool awaitOutput(const std::string& text) const;
    // The same for the library's trace in the run folder, which must hold
    // `text` `times` times.
    bool awaitLibraryLog(const std::string& text, size_t times = 1) const;
    // SIGTERM, then SIGKILL after 5 s; the exit status, -1 if killed.
    int stop();

private:
    robotest::TempDir folder_;
    pid_t pid_ = -1;
    int status_ = -1;
};

class RobotTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(host.awaitOutput("demo host: serving")) << host.output(); }
    DemoHost host;
};

// The first JSON document of the text; null when there is none.
Json::Value parseJson(const std::string& text);
std::string fileText(const std::string& path);

}  // namespace e2e
