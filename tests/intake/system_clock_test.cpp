// Setting the clock, against the test binary's stand-in for settimeofday.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>

#include "intake_fixture.h"
#include "robocomm/intake.h"
#include "support/fake_clock.h"

namespace {

using intaketest::captureOutput;

class SystemClockTest : public ::testing::Test {
protected:
    void SetUp() override { robotest::resetFakeClock(); }
};

std::string errorOf(const TimeData_t& t) {
    try {
        setSystemTime(t);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

TEST_F(SystemClockTest, NormalisesOutOfRangeFieldsAndLogsBothForms) {
    const auto output = captureOutput([] { setSystemTime({2024, 13, 1, 0, 0, 0}); });
    EXPECT_EQ(output.out,
              "System time updated successfully to: Wed Jan  1 00:00:00 2025\n"
              "Input TimeData: Year: 2024, Month: 13, Day: 1, Hour: 0, Minute: 0, Second: 0\n"
              "Epoch Time (UTC): 1735689600\n"
              "Converted System Time: Wed Jan  1 00:00:00 2025\n\n");
    EXPECT_EQ(robotest::lastClockSet().seconds, 1735689600L);
    EXPECT_EQ(robotest::lastClockSet().micros, 0L);
}

TEST_F(SystemClockTest, SecondSixtyRollsIntoTheNextMinute) {
    captureOutput([] { setSystemTime({2024, 6, 30, 23, 59, 60}); });
    EXPECT_EQ(robotest::lastClockSet().seconds, 1719792000L);
}

TEST_F(SystemClockTest, TheInstantBeforeTheEpochIsRefused) {
    std::string error;
    const auto output = captureOutput([&] { error = errorOf({1969, 12, 31, 23, 59, 59}); });
    EXPECT_EQ(error, "Failed to convert time to epoch.");
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(robotest::clockSetCount(), 0);

    captureOutput([&] { error = errorOf({1969, 12, 31, 23, 59, 58}); });
    EXPECT_EQ(error, "");
    EXPECT_EQ(robotest::lastClockSet().seconds, -2L);
}

TEST_F(SystemClockTest, AClockThatRefusesIsAnError) {
    robotest::failNextClockSet();
    std::string error;
    const auto output = captureOutput([&] { error = errorOf({2024, 1, 1, 0, 0, 0}); });
    EXPECT_EQ(error, "Failed to set system time.");
    EXPECT_EQ(output.out, "");
}

TEST_F(SystemClockTest, TakesTheFieldsAsUtcWhateverTheZone) {
    const char* saved = std::getenv("TZ");
    const std::optional<std::string> previous = saved ? std::optional<std::string>(saved) : std::nullopt;
    setenv("TZ", "Asia/Seoul", 1);
    tzset();
    captureOutput([] { setSystemTime({2024, 2, 29, 12, 34, 56}); });
    if (previous) {
        setenv("TZ", previous->c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
    EXPECT_EQ(robotest::lastClockSet().seconds, 1709210096L);
}

}  // namespace
