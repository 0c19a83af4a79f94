// The host's resident memory while it answers LogData with a large archive:
// a folder holding one file of incompressible bytes is packed and sent by
// resGetLogData to a connected client that reads and drops everything. The
// link's pause after each packet is taken out of this program (the protocol's
// pace, not the library's memory). Prints one table row.
//   robocomm_log_bundle_memory [--mib N]    (default 100)
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "robocomm/files.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

extern "C" int usleep(useconds_t) { return 0; }

namespace {

constexpr long kGoalMiB = 8;

// A /proc/self/status field in KiB.
long statusKiB(const char* field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(field, 0) == 0) return std::atol(line.c_str() + std::strlen(field));
    return -1;
}

void writeRandomFile(const std::string& path, size_t mib) {
    std::mt19937_64 generator(20261125);
    std::vector<uint64_t> piece((1 << 20) / sizeof(uint64_t));
    std::ofstream file(path, std::ios::binary);
    for (size_t i = 0; i < mib; ++i) {
        for (uint64_t& word : piece) word = generator();
        file.write(reinterpret_cast<const char*>(piece.data()), static_cast<std::streamsize>(piece.size() * 8));
    }
}

}  // namespace

int main(int argc, char** argv) {
    size_t mib = 100;
    if (argc == 3 && std::strcmp(argv[1], "--mib") == 0) {
        mib = static_cast<size_t>(std::atol(argv[2]));
    } else if (argc != 1) {
        std::fprintf(stderr, "usage: robocomm_log_bundle_memory [--mib N]\n");
        return 2;
    }
    char folderName[] = "/tmp/robocomm-log-memory-XXXXXX";
    if (mkdtemp(folderName) == nullptr) return 1;
    const std::filesystem::path folder(folderName);
    std::filesystem::create_directory(folder / "logs");
    writeRandomFile(folder / "logs" / "robot.log", mib);

    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return 1;
    std::thread reader([&] {
        static char sink[65536];
        while (recv(ends[1], sink, sizeof sink, 0) > 0) {
        }
    });
    API_GenerateKey();
    enableEnc = 1;
    clientfd = ends[0];

    // The library's lines go nowhere; the row goes to the terminal.
    std::fflush(stdout);
    const int terminal = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);

    const long idle = statusKiB("VmRSS:");
    // Starts the peak anew at what is resident now (best effort).
    std::ofstream("/proc/self/clear_refs") << "5";
    const bool sent = resGetLogData((folder / "logs").string());
    const long peak = statusKiB("VmHWM:");

    shutdown(ends[0], SHUT_WR);
    reader.join();
    std::filesystem::remove_all(folder);
    const double above = static_cast<double>(peak - idle) / 1024;
    dprintf(terminal, "| log bundle of %zu MiB%s | %.1f MiB | %.1f MiB | %.1f MiB | <= %ld MiB | %s |\n", mib,
            sent ? "" : " (not sent)", static_cast<double>(idle) / 1024, static_cast<double>(peak) / 1024, above,
            kGoalMiB, sent && above <= kGoalMiB ? "yes" : "NO");
    return sent ? 0 : 1;
}
