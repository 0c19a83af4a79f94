// Whole files as byte strings, for the files tests.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace robotest {

inline std::string fileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void writeBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace robotest
