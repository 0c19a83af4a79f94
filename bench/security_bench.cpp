// Throughput of the codecs every frame, map and log bundle passes through.
#include <benchmark/benchmark.h>

#include <random>

#include "robocomm/security.h"

namespace {

constexpr size_t kMiB = 1 << 20;
constexpr size_t kFrame = 32 * 1024;

std::vector<unsigned char> randomBytes(size_t length) {
    std::mt19937 generator(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::vector<unsigned char> bytes(length);
    for (auto& b : bytes) b = static_cast<unsigned char>(byte(generator));
    return bytes;
}

void processed(benchmark::State& state, size_t bytesPerIteration) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesPerIteration));
}

void BM_Base64Encode(benchmark::State& state) {
    const auto bytes = randomBytes(kMiB);
    for (auto _ : state) benchmark::DoNotOptimize(base64Encode(bytes.data(), bytes.size()));
    processed(state, kMiB);
}
BENCHMARK(BM_Base64Encode);

void BM_Base64Decode(benchmark::State& state) {
    const auto bytes = randomBytes(kMiB);
    const std::string text = base64Encode(bytes.data(), bytes.size());
    for (auto _ : state) benchmark::DoNotOptimize(base64Decode(text));
    processed(state, kMiB);
}
BENCHMARK(BM_Base64Decode);

void BM_EncryptFrame(benchmark::State& state) {
    API_GenerateKey();
    const auto bytes = randomBytes(kFrame);
    const std::string plain(bytes.begin(), bytes.end());
    std::vector<unsigned char> cipher;
    for (auto _ : state) {
        encryptData(plain, cipher, key, iv);
        benchmark::DoNotOptimize(cipher.data());
    }
    processed(state, kFrame);
}
BENCHMARK(BM_EncryptFrame);

void BM_DecryptFrame(benchmark::State& state) {
    API_GenerateKey();
    const auto bytes = randomBytes(kFrame);
    std::vector<unsigned char> cipher;
    encryptData(bytes.data(), bytes.size(), cipher, key, iv);
    const std::string text(cipher.begin(), cipher.end());
    for (auto _ : state) benchmark::DoNotOptimize(decryptData(text, key, iv));
    processed(state, kFrame);
}
BENCHMARK(BM_DecryptFrame);

void BM_CalculateSHA256(benchmark::State& state) {
    const auto bytes = randomBytes(kMiB);
    for (auto _ : state) benchmark::DoNotOptimize(calculateSHA256(bytes));
    processed(state, kMiB);
}
BENCHMARK(BM_CalculateSHA256);

}  // namespace
