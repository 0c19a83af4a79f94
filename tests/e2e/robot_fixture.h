// One demo host per test suite, driven through the client binary.
#pragma once

#include <gtest/gtest.h>
#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "e2e/processes.h"

namespace e2e {

class RobotTest : public ::testing::Test {
protected:
    static void startHost(bool plain);
    static void TearDownTestSuite();
    void SetUp() override;

    static DemoHost& host() { return *host_; }
    // The client with the suite's encryption setting.
    static ClientRun client(std::vector<std::string> args);

private:
    static std::unique_ptr<DemoHost> host_;
    static bool plain_;
};

class EncryptedRobot : public RobotTest {
protected:
    static void SetUpTestSuite() { startHost(false); }
};

class PlainRobot : public RobotTest {
protected:
    static void SetUpTestSuite() { startHost(true); }
};

// The first line of the client's --json output, parsed; null when it is not JSON.
Json::Value answer(const ClientRun& run);
// The text parsed as JSON; null when it is not JSON.
Json::Value parseJson(const std::string& text);
// Contents of a file, empty when it cannot be read.
std::string fileText(const std::string& path);

}  // namespace e2e
