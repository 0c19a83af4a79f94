// What the answers print, and how they behave with no client connected.
#include <gtest/gtest.h>

#include <functional>

#include "robocomm/link.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

namespace capture = ::testing::internal;

TEST(PositionDocument, PrintsTheCutValues) {
    capture::CaptureStdout();
    createJsonPosition(1.23456, -1.23456, 2);
    EXPECT_EQ(capture::GetCapturedStdout(), "x: 1.234/ y: -1.235/ theta: 2\n");
}

// An answer prints its own line, if it has one, before the sender's opening
// line and its complaint about the missing client, and returns.
void expectPrinted(const std::function<void()>& answer, const std::string& out) {
    capture::CaptureStdout();
    capture::CaptureStderr();
    answer();
    EXPECT_EQ(capture::GetCapturedStderr(), "Invalid client socket\n");
    EXPECT_EQ(capture::GetCapturedStdout(), out + "sendLargeJsonData #1\n");
}

TEST(NoClient, AnswersPrintTheirLinesAndReturn) {
    clientfd = -1;
    const unsigned char bytes[] = {1, 2, 3};
    expectPrinted([] { resSetMotorManual_RPM(true); }, "Motor settings applied: Success\n");
    expectPrinted([] { resSetMotorManual_RPM(false); }, "Motor settings applied: Failure\n");
    expectPrinted([&] { resGetMapDataB(bytes, 3, 2, 3.5, 0.05, -1, 0); },
                  "Width: 2, Height: 3.5, Resolution: 0.05, posX: -1, posY: 0\n");
    expectPrinted([&] { resGetModifiedMapDataB(bytes, 3, 640, 0.125); }, "Width: 640, Height: 0.125\n");
    expectPrinted([] { resSetMotorManual_VW(true); }, "");
    expectPrinted([] { resGetMapDataS("abc", 2, 3.5, 0.05, -1, 0); }, "");
    expectPrinted([] { resGetErrorList({}); }, "");
    expectPrinted([] { resSetOTAdata(40, 1); }, "");
}

}  // namespace
}  // namespace restest
