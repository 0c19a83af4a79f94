// The page's files, built into the program so that it runs from anywhere.
#pragma once

#include <string>

namespace robocomm::console {

struct Asset {
    const char* path;  // "index.html", "console.js", ...
    const char* type;  // its Content-Type
    const unsigned char* data;
    unsigned long size;
};

// nullptr when there is no such file.
const Asset* findAsset(const std::string& path);

}  // namespace robocomm::console
