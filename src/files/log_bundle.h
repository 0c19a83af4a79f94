// Internals of the log bundle answer.
#pragma once

#include <cstdint>

namespace robocomm {

// Whether an archive of this many bytes may be sent: at most MAX_SIZE_LOG,
// compared unsigned.
bool logArchiveFits(int64_t size);

}  // namespace robocomm
