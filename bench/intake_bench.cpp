// Cost of one inbound command on the receive thread: decryption, JSON parse
// and the mailbox update.
#include <benchmark/benchmark.h>

#include <iostream>
#include <streambuf>

#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace {

// The parser logs every command; the log is not what is being measured.
class Discard : public std::streambuf {
protected:
    int overflow(int c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

void BM_ParseEncipheredSetCommand(benchmark::State& state) {
    API_GenerateKey();
    enableEnc = 1;
    std::vector<unsigned char> body;
    encryptData(std::string(R"({"Request":{"Set":{"TargetPosition":{"x":12.5,"y":-3.25,"theta":1.57}}}})"), body,
                key, iv);
    const std::string message = std::string(1, '\x3c') + std::string(body.begin(), body.end());
    Discard discard;
    std::streambuf* const console = std::cout.rdbuf(&discard);
    for (auto _ : state) parseData(message);
    std::cout.rdbuf(console);
}
BENCHMARK(BM_ParseEncipheredSetCommand);

}  // namespace
