// Setting the clock, against the test binary's stand-in for settimeofday.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "intake_fixture.h"
#include "robocomm/intake.h"
#include "support/fake_clock.h"

namespace {

// Month 13 rolls into January; the input line shows the fields as received.
// The zone is set far from UTC: the fields must still be taken as UTC.
TEST(SystemClock, NormalisesOutOfRangeFieldsAndLogsBothForms) {
    const char* zone = std::getenv("TZ");
    const std::string savedZone = zone ? zone : "";
    setenv("TZ", "Asia/Seoul", 1);
    tzset();
    const auto output = intaketest::captureOutput([] { setSystemTime({2024, 13, 1, 0, 0, 0}); });
    if (zone) setenv("TZ", savedZone.c_str(), 1);
    else unsetenv("TZ");
    tzset();
    EXPECT_EQ(output.out,
              "System time updated successfully to: Wed Jan  1 00:00:00 2025\n"
              "Input TimeData: Year: 2024, Month: 13, Day: 1, Hour: 0, Minute: 0, Second: 0\n"
              "Epoch Time (UTC): 1735689600\n"
              "Converted System Time: Wed Jan  1 00:00:00 2025\n\n");
    EXPECT_EQ(robotest::lastClockSet().seconds, 1735689600L);
    EXPECT_EQ(robotest::lastClockSet().micros, 0L);
}

}  // namespace
