// One enciphered command on the receive thread against the decryption and
// parse it cannot avoid; the host's polls on their own.
#include <json/reader.h>
#include <openssl/evp.h>

#include <memory>

#include "measure.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace {

const std::string kTargetPosition = R"({"Request":{"Set":{"TargetPosition":{"x":12.5,"y":-3.25,"theta":1.57}}}})";

std::string encipheredBody() {
    API_GenerateKey();
    std::vector<unsigned char> body;
    encryptData(kTargetPosition, body, key, iv);
    return std::string(body.begin(), body.end());
}

void parseRobocomm(benchmark::State& state) {
    enableEnc = 1;
    const std::string message = '\x3c' + encipheredBody();
    double pose[3];
    const bench::SilencedConsole console;
    bench::measure(state, [&] {
        parseData(message);
        reqSetTargetPosition(pose);
    });
}
// AES-128-CBC decryption with a context of its own, one parse with a reader
// made once, the three numbers read out.
void parseAnchor(benchmark::State& state) {
    const std::string body = encipheredBody();
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    double pose[3];
    bench::measure(state, [&] {
        EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
        EVP_DecryptInit_ex(context, EVP_aes_128_cbc(), nullptr, key, iv);
        std::string text(body.size() + 16, '\0');
        int length = 0;
        int tail = 0;
        auto* out = reinterpret_cast<unsigned char*>(text.data());
        EVP_DecryptUpdate(context, out, &length, reinterpret_cast<const unsigned char*>(body.data()),
                          static_cast<int>(body.size()));
        EVP_DecryptFinal_ex(context, out + length, &tail);
        EVP_CIPHER_CTX_free(context);
        text.resize(static_cast<size_t>(length + tail));
        Json::Value root;
        std::string errors;
        reader->parse(text.data(), text.data() + text.size(), &root, &errors);
        const Json::Value& target = root["Request"]["Set"]["TargetPosition"];
        pose[0] = target["x"].asDouble();
        pose[1] = target["y"].asDouble();
        pose[2] = target["theta"].asDouble();
        benchmark::DoNotOptimize(pose);
    });
}
void pendingPoll(benchmark::State& state) {
    double pose[3];
    bench::measure(state, [&] {
        globalSetTargetPosition.pending = 1;
        benchmark::DoNotOptimize(reqSetTargetPosition(pose));
    });
}
void idlePoll(benchmark::State& state) {
    double pose[3];
    bench::measure(state, [&] { benchmark::DoNotOptimize(reqSetTargetPosition(pose)); });
}
const bool registered = [] {
    bench::add("parseData/robocomm", parseRobocomm);
    bench::add("parseData/anchor", parseAnchor);
    bench::add("poll/pending", pendingPoll);
    bench::add("poll/idle", idlePoll);
    return true;
}();

}  // namespace
