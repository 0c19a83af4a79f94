// Inputs both sides of a benchmark row share.
#pragma once

#include <cstddef>
#include <vector>

namespace bench {

constexpr size_t kMiB = size_t{1} << 20;

// The same pseudo-random bytes on every run.
std::vector<unsigned char> randomBytes(size_t length);

}  // namespace bench
