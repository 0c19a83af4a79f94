#include "e2e/robot_fixture.h"

#include <json/reader.h>

#include <fstream>
#include <sstream>

namespace e2e {

std::unique_ptr<DemoHost> RobotTest::host_;
bool RobotTest::plain_ = false;

void RobotTest::startHost(bool plain) {
    plain_ = plain;
    host_ = std::make_unique<DemoHost>(plain);
}

void RobotTest::TearDownTestSuite() { host_.reset(); }

void RobotTest::SetUp() {
    ASSERT_TRUE(host_ && host_->serving()) << "the demo host did not start:\n" << (host_ ? host_->output() : "");
}

ClientRun RobotTest::client(std::vector<std::string> args) {
    if (plain_) args.insert(args.begin(), "--plain");
    return runClient(args);
}

Json::Value answer(const ClientRun& run) { return parseJson(run.out.substr(0, run.out.find('\n'))); }

Json::Value parseJson(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::Value root;
    std::string errors;
    std::istringstream stream(text);
    if (!Json::parseFromStream(builder, stream, &root, &errors)) return Json::Value();
    return root;
}

std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace e2e
