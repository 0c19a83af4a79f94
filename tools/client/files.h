// Whole-file reads and writes for the commands that carry files.
#pragma once

#include <string>

namespace robocomm::client {

// Throws Failure(Usage): the file is an argument the operator gave.
std::string readWholeFile(const std::string& path);
// Throws Failure(Failed).
void writeWholeFile(const std::string& path, const std::string& bytes);

}  // namespace robocomm::client
