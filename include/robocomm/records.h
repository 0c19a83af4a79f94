// Records shared between the library and the host program. Their names live
// in the global namespace because the mangled signatures of the helpers that
// take them depend on it; field order and widths are part of the interface.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Wall-clock date and time as the client sends it (TimeData, code 67).
struct TimeData_t {
    int32_t year;
    int32_t month;
    int32_t day;
    int32_t hour;
    int32_t minute;
    int32_t second;
};

// PGM map upload (code 73): the data stays base64 text as received.
struct PGMMapData_t {
    std::string name;
    std::string sha256;
    std::string data;
};

// The firmware image handed to the host, with the digest that came with it.
struct otadataB_t {
    std::string checksum;
    std::vector<unsigned char> data;
};

// Map-edit document (ByPassOneData, code 71).
struct Position_t {
    double x;
    double y;
};

struct Room_t {
    std::string id;
    std::string name;
    std::string color;
    std::string desc;
    std::vector<Position_t> robot_path;
    std::vector<Position_t> image_path;
};

// Serves blocked areas and blocked walls alike.
struct BlockArea_t {
    std::string id;
    std::vector<Position_t> robot_path;
    std::vector<Position_t> image_path;
};

struct ChargingStation_t {
    std::string id;
    Position_t robot_position;
    Position_t image_position;
};

struct InitPosition_t {
    std::string id;
    Position_t robot_position;
    Position_t image_position;
};

struct ByPassOneData_t {
    std::string uid;
    std::string version;
    std::string modified;
    std::vector<Room_t> room_list;
    std::vector<BlockArea_t> block_area;
    std::vector<BlockArea_t> block_wall;
    std::vector<ChargingStation_t> charging_station;
    std::vector<InitPosition_t> init_position;
};

// One object seen by a camera (CameraStatusV2).
struct ObjectDataV2 {
    uint8_t classID;
    uint8_t confidence;
    int16_t x;
    int16_t y;
    int16_t theta;
    int16_t width;
    int16_t height;
    uint16_t distance;
};

// One line-laser point (LineLaserStatusV2).
struct LLDataV2 {
    int16_t x;
    int16_t y;
    int16_t theta;
    int8_t direction;
    int16_t height;
    uint16_t distance;
};

// One entry of the robot's error list.
struct ErrorRecord {
    int32_t resolved;
    int32_t rank;
    std::string errorCode;
};
