#include "fleet_e2e/site.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <mosquitto.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "common/json_text.h"

namespace fleet_e2e {

namespace {

constexpr auto kStep = std::chrono::milliseconds(20);

bool portListening(uint16_t port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const bool up = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return up;
}

std::string fileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void run(const std::string& command) {
    const int status = std::system(command.c_str());
    if (status != 0) throw std::runtime_error("failed: " + command);
}

}  // namespace

uint16_t freePort() {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(fd, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    close(fd);
    return ntohs(address.sin_port);
}

Child::Child(const std::vector<std::string>& command, const std::string& log) {
    std::vector<std::string> words = command;
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
}

void Child::signal(int number) const { kill(pid_, number); }

int Child::stop() {
    if (pid_ <= 0) return status_;
    kill(pid_, SIGTERM);
    int status = 0;
    for (int i = 0; i < 250; ++i) {
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        std::this_thread::sleep_for(kStep);
    }
    kill(pid_, SIGKILL);
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status_ = -1;
}

Broker::Broker(const std::string& folder, bool secured) : folder_(folder), port_(freePort()) {
    std::ofstream conf(folder_ + "/mosquitto.conf");
    // The broker may drop root for its own user, who must read the files.
    chmod(folder_.c_str(), 0755);
    conf << "listener " << port_ << " 127.0.0.1\npersistence false\n";
    if (!secured) {
        conf << "allow_anonymous true\n";
    } else {
        // A CA and a server certificate for 127.0.0.1, made for this test only.
        const std::string f = folder_;
        std::ofstream(f + "/san.ext") << "subjectAltName=IP:127.0.0.1\n";
        run("cd " + f + " && openssl req -x509 -newkey rsa:2048 -nodes -keyout ca.key -out ca.crt -subj /CN=test-ca -days 1 >/dev/null 2>&1"
            " && openssl req -new -newkey rsa:2048 -nodes -keyout server.key -out server.csr -subj /CN=127.0.0.1 >/dev/null 2>&1"
            " && openssl x509 -req -in server.csr -CA ca.crt -CAkey ca.key -CAcreateserial -out server.crt -days 1"
            " -extfile san.ext >/dev/null 2>&1 && chmod 644 server.key"
            " && mosquitto_passwd -b -c passwords fleet 'site secret' >/dev/null 2>&1 && chmod 644 passwords");
        conf << "allow_anonymous false\npassword_file " << f << "/passwords\ncafile " << f << "/ca.crt\ncertfile " << f
             << "/server.crt\nkeyfile " << f << "/server.key\n";
        security_ = {"fleet", "site secret", f + "/ca.crt"};
    }
    conf.close();
    start();
}

void Broker::start() {
    process_ = std::make_unique<Child>(std::vector<std::string>{"mosquitto", "-c", folder_ + "/mosquitto.conf"},
                                       folder_ + "/mosquitto.log");
    for (int i = 0; i < 250 && !portListening(port_); ++i) std::this_thread::sleep_for(kStep);
}

Observer::Observer(uint16_t port, const BrokerSecurity& security) {
    client_ = mosquitto_new(nullptr, true, this);
    if (!security.user.empty()) mosquitto_username_pw_set(client_, security.user.c_str(), security.password.c_str());
    if (!security.caFile.empty()) mosquitto_tls_set(client_, security.caFile.c_str(), nullptr, nullptr, nullptr, nullptr);
    mosquitto_connect_callback_set(client_, [](mosquitto* client, void*, int) {
        mosquitto_subscribe(client, nullptr, "uagv/#", 1);
    });
    mosquitto_message_callback_set(client_, [](mosquitto*, void* self, const mosquitto_message* message) {
        auto* observer = static_cast<Observer*>(self);
        Json::Value document;
        std::string errors;
        robocomm::tools::parseJson(
            std::string(static_cast<const char*>(message->payload), static_cast<size_t>(message->payloadlen)), document,
            errors);
        std::lock_guard<std::mutex> lock(observer->mutex_);
        observer->received_.push_back({message->topic, document, message->retain});
    });
    mosquitto_reconnect_delay_set(client_, 1, 1, false);
    mosquitto_connect_async(client_, "127.0.0.1", port, 10);
    mosquitto_loop_start(client_);
}

Observer::~Observer() {
    mosquitto_disconnect(client_);
    mosquitto_loop_stop(client_, true);
    mosquitto_destroy(client_);
}

void Observer::publish(const std::string& topic, const Json::Value& document) {
    const std::string text = robocomm::tools::compactJson(document);
    mosquitto_publish(client_, nullptr, topic.c_str(), static_cast<int>(text.size()), text.data(), 1, false);
}

size_t Observer::mark() {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_.size();
}

bool Observer::await(const std::function<bool(const Received&)>& test, Seconds wait, size_t from) {
    const auto end = std::chrono::steady_clock::now() + wait;
    size_t seen = from;
    while (std::chrono::steady_clock::now() < end) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            for (; seen < received_.size(); ++seen)
                if (test(received_[seen])) return true;
        }
        std::this_thread::sleep_for(kStep);
    }
    return false;
}

std::vector<Received> Observer::received() {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

Json::Value Observer::latest(const std::string& topic) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = received_.rbegin(); it != received_.rend(); ++it)
        if (it->topic == topic) return it->document;
    return Json::Value();
}

std::string schemaProblems(const std::vector<Received>& messages, const std::string& folder, std::string& skipped) {
    {
        std::ofstream out(folder + "/messages.jsonl");
        for (const Received& message : messages) {
            Json::Value line;
            line["topic"] = message.topic;
            line["document"] = message.document;
            out << robocomm::tools::compactJson(line) << "\n";
        }
    }
    const std::string report = folder + "/schema-report.txt";
    const int status = std::system(("python3 " FLEET_VALIDATOR " " VDA5050_SCHEMAS " " + folder + "/messages.jsonl >" +
                                    report + " 2>&1")
                                       .c_str());
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (code == 77) {
        skipped = fileText(report);
        return "";
    }
    return code == 0 ? "" : fileText(report);
}

}  // namespace fleet_e2e
