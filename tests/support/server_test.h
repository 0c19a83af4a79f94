// Fixture for tests that talk to a running server: encryption on, the server
// started, one client connected and accepted; everything stopped afterwards.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "support/link_client.h"

namespace robotest {

class ServerTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    LinkClient& client();

private:
    std::unique_ptr<LinkClient> client_;
};

}  // namespace robotest
