#include "inputs.h"

#include <random>

namespace bench {

std::vector<unsigned char> randomBytes(size_t length) {
    std::mt19937 generator(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::vector<unsigned char> bytes(length);
    for (auto& b : bytes) b = static_cast<unsigned char>(byte(generator));
    return bytes;
}

}  // namespace bench
