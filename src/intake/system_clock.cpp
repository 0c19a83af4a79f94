// Setting the wall clock from a TimeData command.
#include <sys/time.h>

#include <cstdint>
#include <ctime>
#include <iostream>
#include <stdexcept>

#include "robocomm/intake.h"

namespace {

// Wraps like the machine's arithmetic instead of overflowing for fields near
// the 32-bit limits; the conversion then refuses or normalises them.
int wrappingMinus(int32_t value, int32_t offset) {
    return static_cast<int>(static_cast<uint32_t>(value) - static_cast<uint32_t>(offset));
}

// asctime may yield nothing for a year it cannot show; the stream then only
// records the failure.
void printAsctime(const std::tm& time) {
    const char* text = std::asctime(&time);
    if (text == nullptr) {
        std::cout.setstate(std::ios::badbit);
        return;
    }
    std::cout << text;
}

}  // namespace

void setSystemTime(const TimeData_t& t) {
    std::tm time{};
    time.tm_sec = t.second;
    time.tm_min = t.minute;
    time.tm_hour = t.hour;
    time.tm_mday = t.day;
    time.tm_mon = wrappingMinus(t.month, 1);
    time.tm_year = wrappingMinus(t.year, 1900);

    const time_t epoch = timegm(&time);
    if (epoch == -1) {
        throw std::runtime_error("Failed to convert time to epoch.");
    }
    const timeval clock{epoch, 0};
    if (settimeofday(&clock, nullptr) != 0) {
        throw std::runtime_error("Failed to set system time.");
    }

    std::cout << "System time updated successfully to: ";
    printAsctime(time);
    std::cout << std::flush;
    std::cout << "Input TimeData: Year: " << t.year << ", Month: " << t.month << ", Day: " << t.day
              << ", Hour: " << t.hour << ", Minute: " << t.minute << ", Second: " << t.second << std::endl;
    std::cout << "Epoch Time (UTC): " << epoch << std::endl;
    std::cout << "Converted System Time: ";
    printAsctime(time);
    std::cout << std::endl;
}
