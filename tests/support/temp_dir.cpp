#include "support/temp_dir.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

namespace robotest {

TempDir::TempDir() : path_((std::filesystem::temp_directory_path() / "robocomm-test-XXXXXX").string()) {
    if (!mkdtemp(path_.data())) throw std::runtime_error("cannot create a temporary folder");
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

const std::string& TempDir::path() const { return path_; }

}  // namespace robotest
