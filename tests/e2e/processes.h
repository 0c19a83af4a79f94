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

ClientRun runClient(const std::vector<std::string>& args);

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
