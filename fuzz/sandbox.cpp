#include "sandbox.h"

#include <sys/time.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "robocomm/files.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

// TimeData sets the clock: here it lands on this stand-in, never on the
// machine's clock.
extern "C" int settimeofday(const struct timeval*, const struct timezone*) noexcept { return 0; }

// A client announces the firmware image's size, up to 4 GiB. Under
// AddressSanitizer, allocations beyond 64 MiB fail as they would on a robot
// short of memory: the receive thread's out-of-memory end is reached, and no
// input ties up gigabytes. Without the sanitizer this is never called.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=64"; }

namespace {

// A map-edit file that cannot be opened ends the process, and the default
// path lies outside any folder of ours. The folder lies in memory where the
// machine offers it: every map edit that parses rewrites the file, and on a
// disk those rewrites alone would set the pace of fuzzing.
class Sandbox {
public:
    Sandbox() {
        char inMemory[] = "/dev/shm/robocomm-fuzz-XXXXXX";
        char onDisk[] = "/tmp/robocomm-fuzz-XXXXXX";
        const char* folder = mkdtemp(inMemory);
        if (folder == nullptr) folder = mkdtemp(onDisk);
        if (folder == nullptr) std::abort();
        folder_ = folder;
        mapEditFilePath = folder_ + "/MapEdit.bin";
        API_GenerateKey();
        clientfd = -1;
    }
    ~Sandbox() { std::filesystem::remove_all(folder_); }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

private:
    std::string folder_;
};

}  // namespace

namespace robofuzz {

void enterSandbox() { static Sandbox sandbox; }

void runReceivePass(const std::function<void()>& pass) {
    try {
        pass();
    } catch (const std::exception& e) {
        std::cerr << "Exception occurred: " << e.what() << std::endl;
    } catch (...) {
        std::cerr << "Unknown exception occurred" << std::endl;
    }
}

}  // namespace robofuzz
