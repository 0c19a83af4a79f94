// What the answers print, and how they behave with no client connected.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "robocomm/link.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

struct TruncationCase {
    double value;
    int digits;
    double expected;
};

TEST(TruncateToPrecision, RoundsTowardMinusInfinity) {
    const TruncationCase cases[] = {
        {1.23456, 3, 1.234}, {-1.23456, 3, -1.235}, {2.5, 0, 2.0},    {-2.5, 0, -3.0},
        {0.0004, 3, 0.0},    {-0.0004, 3, -0.001},  {1.999, 2, 1.99}, {1234.5, -2, 1200.0},
    };
    for (const TruncationCase& c : cases) {
        SCOPED_TRACE(c.value);
        EXPECT_DOUBLE_EQ(truncateToPrecision(c.value, c.digits), c.expected);
    }
}

TEST(TruncateToPrecision, CarriesNonFiniteValuesThrough) {
    EXPECT_TRUE(std::isnan(truncateToPrecision(NAN, 3)));
    EXPECT_EQ(truncateToPrecision(INFINITY, 3), INFINITY);
}

TEST(PositionDocument, PrintsTheCutValues) {
    CaptureStdout();
    createJsonPosition(1.23456, -1.23456, 2);
    EXPECT_EQ(GetCapturedStdout(), "x: 1.234/ y: -1.235/ theta: 2\n");
}

// With no client every answer returns after the sender's complaint; what the
// answer prints before sending comes first on standard output.
class NoClientTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedClient_ = clientfd;
        clientfd = -1;
    }
    void TearDown() override { clientfd = savedClient_; }

    struct Printed {
        std::string out;
        std::string err;
    };
    static Printed run(const std::function<void()>& answer) {
        CaptureStdout();
        CaptureStderr();
        answer();
        Printed printed;
        printed.err = GetCapturedStderr();
        printed.out = GetCapturedStdout();
        return printed;
    }

private:
    int savedClient_ = 0;
};

TEST_F(NoClientTest, AnswersAndPushesReturnAfterTheComplaint) {
    const unsigned char bytes[] = {1, 2, 3};
    const std::function<void()> answers[] = {
        [] { resSetEmergencyStop(true); },
        [] { resSetResult(99, false); },
        [] { resGetTofStatus(1, 2.5, 3, 4.5, 5, 6.5); },
        [] { resGetAllMovingInfo(1, 0, 0, 0, 1, 1, 1); },
        [&] { resGetModifiedMapDataB(bytes, sizeof bytes, 1, 2); },
        [] { resGetErrorList({}); },
        [] { resSetOTAdata(40, 1); },
        [] {
            EmergencyMSG_ERROR({{1, 2, "E"}});
        },
        [] { EmergencyMSG_OTA(1, 40, "v"); },
    };
    for (size_t i = 0; i < std::size(answers); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(run(answers[i]).err, "Invalid client socket\n");
    }
}

TEST_F(NoClientTest, ManualMotorResultIsEchoed) {
    EXPECT_EQ(run([] { resSetMotorManual_RPM(true); }).out.rfind("Motor settings applied: Success\n", 0), 0u);
    EXPECT_EQ(run([] { resSetMotorManual_RPM(false); }).out.rfind("Motor settings applied: Failure\n", 0), 0u);
    EXPECT_EQ(run([] { resSetMotorManual_VW(true); }).out.find("Motor settings"), std::string::npos);
}

TEST_F(NoClientTest, MapImageAnswersPrintTheirGeometry) {
    const unsigned char bytes[] = {1, 2, 3};
    const Printed map = run([&] { resGetMapDataB(bytes, sizeof bytes, 2, 3.5, 0.05, -1, 0); });
    EXPECT_EQ(map.out.rfind("Width: 2, Height: 3.5, Resolution: 0.05, posX: -1, posY: 0\n", 0), 0u);
    EXPECT_EQ(map.err, "Invalid client socket\n");
    const Printed modified = run([&] { resGetModifiedMapDataB(bytes, sizeof bytes, 640, 0.125); });
    EXPECT_EQ(modified.out.rfind("Width: 640, Height: 0.125\n", 0), 0u);
    EXPECT_EQ(run([] { resGetMapDataS("abc", 2, 3.5, 0.05, -1, 0); }).out.find("Width"), std::string::npos);
}

}  // namespace
}  // namespace restest
