// Factory jig link: data blocks parked per jig command number.
#pragma once

#include <cstdint>
#include <vector>

#include "robocomm/export.h"

constexpr int JIG_COMMAND_COUNT = 30;

struct JigData_t {
    int32_t command;
    // Greater than 0 while a block waits in the slot.
    int32_t length;
    std::vector<unsigned char> data;
};

// One slot per jig command number 0 to 29.
ROBOCOMM_API extern JigData_t jigDataArray[JIG_COMMAND_COUNT];

// Stores a block that arrived from the jig (frames of message kind 200).
ROBOCOMM_API void parseJigData(int command, const std::vector<unsigned char>& data);

ROBOCOMM_C_BEGIN
ROBOCOMM_API bool isValidCommand(int command);
// Moves the waiting block into out and frees the slot.
ROBOCOMM_API bool API_RecvJigData(int command, std::vector<unsigned char>& out);
// Sends a block to the jig over UDP; the number is not range-checked.
ROBOCOMM_API void API_SendJigData(int command, const std::vector<unsigned char>& data);
ROBOCOMM_C_END
