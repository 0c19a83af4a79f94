// The robot's map as the browser shows it: the grey-level image of the
// map answer (PGM) turned into PNG, with the geometry that places the
// robot on it.
#pragma once

#include <json/value.h>

#include <string>

namespace robocomm::console {

struct MapImage {
    std::string png;
    // As the robot sends them: cells, metres per cell, and the world
    // position of the map's lower left corner (row 0 of the image is the top).
    double width = 0, height = 0, resolution = 0, posX = 0, posY = 0;
};

// From the "MapData" document of the map answer. Throws Failure(BadData)
// when its data is not a grey-level PGM image.
MapImage mapImageFrom(const Json::Value& mapData);

// Encodes 8-bit grey pixels, row by row from the top, as PNG.
std::string encodeGreyPng(const std::string& pixels, unsigned width, unsigned height);

}  // namespace robocomm::console
