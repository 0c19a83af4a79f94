#include "support/temp_dir.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <vector>

namespace robotest {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "robocomm-test-XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!mkdtemp(buffer.data())) throw std::runtime_error("cannot create a temporary folder");
    path_ = buffer.data();
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

const std::string& TempDir::path() const { return path_; }

}  // namespace robotest
