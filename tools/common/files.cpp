#include "common/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include "common/failure.h"

namespace robocomm::tools {

namespace {

bool isStandardStream(const std::string& path) { return path == "-"; }

std::string parentOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

std::string readWholeFile(const std::string& path) {
    std::ostringstream bytes;
    if (isStandardStream(path)) {
        bytes << std::cin.rdbuf();
        return bytes.str();
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Failure(Exit::Usage, "cannot read " + path + ": " + std::strerror(errno));
    bytes << in.rdbuf();
    return bytes.str();
}

void checkWritable(const std::string& path) {
    if (isStandardStream(path)) return;
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        throw Failure(Exit::Usage, "cannot write " + path + ": it is a folder");
    const std::string folder = parentOf(path);
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        throw Failure(Exit::Usage, "cannot write " + path + ": " + folder + ": " + std::strerror(errno));
}

void writeWholeFile(const std::string& path, const std::string& bytes) {
    if (isStandardStream(path)) {
        std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::cout.flush();
        if (!std::cout) throw Failure(Exit::Failed, "cannot write to standard output");
        return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out) out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw Failure(Exit::Failed, "cannot write " + path + ": " + std::strerror(errno));
}

}  // namespace robocomm::tools
