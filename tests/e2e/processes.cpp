#include "e2e/processes.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <thread>

namespace e2e {

namespace {

using Clock = std::chrono::steady_clock;
constexpr Millis kPollStep(20);

pid_t spawn(const std::string& program, const std::vector<std::string>& args, int out, int err) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    return pid;
}

// Waits for the child until the deadline; kills it after that. -1 when killed.
int reap(pid_t pid, Clock::time_point deadline) {
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (Clock::now() >= deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(kPollStep);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

ClientRun runClient(const std::vector<std::string>& args, Millis timeout) {
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return {};
    const pid_t pid = spawn(ROBOCOMM_CLIENT_PATH, args, out[1], err[1]);
    close(out[1]);
    close(err[1]);
    ClientRun run;
    const auto deadline = Clock::now() + timeout;
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* sinks[2] = {&run.out, &run.err};
    int open = 2;
    while (open > 0 && Clock::now() < deadline) {
        if (poll(fds, 2, static_cast<int>(kPollStep.count())) <= 0) continue;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            char chunk[4096];
            const ssize_t n = read(fds[i].fd, chunk, sizeof chunk);
            if (n > 0) {
                sinks[i]->append(chunk, static_cast<size_t>(n));
                continue;
            }
            close(fds[i].fd);
            fds[i].fd = -1;
            --open;
        }
    }
    for (const pollfd& p : fds)
        if (p.fd >= 0) close(p.fd);
    run.status = pid > 0 ? reap(pid, deadline) : -1;
    return run;
}

DemoHost::DemoHost(bool plain)
    : runFolder_(folder_.path() + "/run"), outputPath_(folder_.path() + "/host-output.txt") {
    const int out = open(outputPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::vector<std::string> args{"--run-dir", runFolder_};
    if (plain) args.push_back("--plain");
    pid_ = spawn(ROBOCOMM_DEMO_HOST_PATH, args, out, out);
    close(out);
    serving_ = pid_ > 0 && awaitOutput("demo host: serving", Millis(10000));
}

DemoHost::~DemoHost() { stop(); }

std::string DemoHost::output() const {
    std::ifstream in(outputPath_);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool DemoHost::ended() {
    int status = 0;
    if (pid_ > 0 && waitpid(pid_, &status, WNOHANG) != pid_) return false;
    if (pid_ > 0) exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    pid_ = -1;
    return true;
}

bool DemoHost::awaitOutput(const std::string& text, Millis timeout) {
    const auto deadline = Clock::now() + timeout;
    while (output().find(text) == std::string::npos) {
        if (Clock::now() >= deadline || ended()) return output().find(text) != std::string::npos;
        std::this_thread::sleep_for(kPollStep);
    }
    return true;
}

int DemoHost::stop(Millis patience) {
    if (ended()) return exitStatus_;
    kill(pid_, SIGTERM);
    exitStatus_ = reap(pid_, Clock::now() + patience);
    pid_ = -1;
    return exitStatus_;
}

}  // namespace e2e
