// Cost of building the largest answer the host sends several times a second.
#include <benchmark/benchmark.h>

#include "robocomm/responses.h"

namespace {

void BM_CreateJsonAllStatusV2(benchmark::State& state) {
    std::vector<ObjectDataV2> objects;
    for (int i = 0; i < 10; ++i)
        objects.push_back({static_cast<uint8_t>(i), 90, static_cast<int16_t>(100 * i), -250, 45, 320, 480, 1500});
    std::vector<LLDataV2> positions;
    for (int i = 0; i < 100; ++i)
        positions.push_back({static_cast<int16_t>(i), static_cast<int16_t>(-i), 12, 1, 30, static_cast<uint16_t>(800 + i)});
    const std::vector<int> leftDistances{310, 305, 298, 290, 287, 280, 276, 270};
    const std::vector<int> rightDistances{410, 405, 398, 390, 387, 380, 376, 370};
    for (auto _ : state) {
        benchmark::DoNotOptimize(createJsonAllStatusV2(
            1, 1, 120.5, 119.8, 0.82, 0.79, 0, 0, 1, objects, 1, positions, 1, 1, 1, leftDistances, rightDistances,
            950, false, false, false, false, false, false, true, false, true, false, 3.91, 3.92, 3.90, 3.93, 3.91,
            5200, 4100, 2, 78.5, 19.6, -1.2, 31.5, 30.9, 5200, 143));
    }
}
BENCHMARK(BM_CreateJsonAllStatusV2);

}  // namespace
