// Whole-file reads and writes for the commands that carry files. The path
// "-" names standard input or standard output.
#pragma once

#include <string>

namespace robocomm::tools {

// Throws Failure(Usage): the file is an argument the operator gave.
std::string readWholeFile(const std::string& path);
// Throws Failure(Usage) when the file could not be created there, so that
// nothing is asked of the robot before the output has a place to go.
void checkWritable(const std::string& path);
// Throws Failure(Failed).
void writeWholeFile(const std::string& path, const std::string& bytes);

}  // namespace robocomm::tools
