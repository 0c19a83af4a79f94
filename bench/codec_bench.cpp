// Base64 against OpenSSL's block codec, on the same megabyte; the frame
// cipher and the digest on their own.
#include <openssl/evp.h>

#include "inputs.h"
#include "measure.h"
#include "robocomm/security.h"

namespace {

using bench::kMiB;

void processed(benchmark::State& state, size_t bytesPerCall) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesPerCall));
}

void encodeRobocomm(benchmark::State& state) {
    const auto bytes = bench::randomBytes(kMiB);
    bench::measure(state, [&] { benchmark::DoNotOptimize(base64Encode(bytes.data(), bytes.size())); });
    processed(state, kMiB);
}
void encodeAnchor(benchmark::State& state) {
    const auto bytes = bench::randomBytes(kMiB);
    bench::measure(state, [&] {
        // EVP_EncodeBlock also writes a terminating zero, which the string has room for.
        std::string text((bytes.size() + 2) / 3 * 4, '\0');
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(text);
    });
    processed(state, kMiB);
}
void decodeRobocomm(benchmark::State& state) {
    const auto bytes = bench::randomBytes(kMiB);
    const std::string text = base64Encode(bytes.data(), bytes.size());
    bench::measure(state, [&] { benchmark::DoNotOptimize(base64Decode(text)); });
    processed(state, kMiB);
}
void decodeAnchor(benchmark::State& state) {
    const auto bytes = bench::randomBytes(kMiB);
    const std::string text = base64Encode(bytes.data(), bytes.size());
    bench::measure(state, [&] {
        std::vector<unsigned char> decoded(text.size() / 4 * 3);
        EVP_DecodeBlock(decoded.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
        decoded.resize(bytes.size());
        benchmark::DoNotOptimize(decoded);
    });
    processed(state, kMiB);
}
void encryptFrame(benchmark::State& state) {
    API_GenerateKey();
    const auto bytes = bench::randomBytes(32 * 1024);
    const std::string plain(bytes.begin(), bytes.end());
    std::vector<unsigned char> cipher;
    bench::measure(state, [&] {
        encryptData(plain, cipher, key, iv);
        benchmark::DoNotOptimize(cipher.data());
    });
    processed(state, plain.size());
}
void calculateDigest(benchmark::State& state) {
    const auto bytes = bench::randomBytes(kMiB);
    bench::measure(state, [&] { benchmark::DoNotOptimize(calculateSHA256(bytes)); });
    processed(state, kMiB);
}
const bool registered = [] {
    bench::add("base64Encode/robocomm", encodeRobocomm);
    bench::add("base64Encode/anchor", encodeAnchor);
    bench::add("base64Decode/robocomm", decodeRobocomm);
    bench::add("base64Decode/anchor", decodeAnchor);
    bench::add("encryptData/32KiB", encryptFrame);
    bench::add("calculateSHA256/1MiB", calculateDigest);
    return true;
}();

}  // namespace
