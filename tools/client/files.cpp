#include "client/files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "client/failure.h"

namespace robocomm::client {

std::string readWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Failure(Exit::Usage, "cannot read " + path + ": " + std::strerror(errno));
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeWholeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out) out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw Failure(Exit::Failed, "cannot write " + path + ": " + std::strerror(errno));
}

}  // namespace robocomm::client
