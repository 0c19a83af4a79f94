#include "e2e/processes.h"

#include <fcntl.h>
#include <json/reader.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace e2e {

constexpr auto kStep = std::chrono::milliseconds(20);

namespace {

size_t occurrences(const std::string& path, const std::string& text) {
    const std::string content = fileText(path);
    size_t n = 0;
    for (size_t at = content.find(text); at != std::string::npos; at = content.find(text, at + 1)) ++n;
    return n;
}

bool awaitText(const std::string& path, const std::string& text, size_t times = 1) {
    for (int i = 0; i < 250 && occurrences(path, text) < times; ++i) std::this_thread::sleep_for(kStep);
    return occurrences(path, text) >= times;
}

// The words that start a tool: the emulator's, if any, then the program.
std::vector<std::string> toolCommand(const char* program) {
    std::vector<std::string> words;
    std::istringstream emulator(ROBOCOMM_TOOL_EMULATOR);
    for (std::string word; emulator >> word;) words.push_back(word);
    words.push_back(program);
    return words;
}

std::string clientCommand(const std::vector<std::string>& args) {
    std::string command;
    for (const std::string& word : toolCommand(ROBOCOMM_CLIENT_PATH)) command += " " + word;
    for (const std::string& arg : args) command += " '" + arg + "'";
    return command;
}

ClientRun runShell(const std::string& command) {
    const robotest::TempDir folder;
    const int status = std::system((command + " >" + folder.path() + "/out 2>" + folder.path() + "/err").c_str());
    return {WEXITSTATUS(status), fileText(folder.path() + "/out"), fileText(folder.path() + "/err")};
}

// Starts the tool with its arguments as a child that dies with the test,
// its stdout and stderr in these files (which may be one).
pid_t spawn(const char* program, const std::vector<std::string>& args, const std::string& out,
            const std::string& err) {
    std::vector<std::string> words = toolCommand(program);
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int outFd = open(out.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        dup2(outFd, STDOUT_FILENO);
        dup2(err == out ? outFd : open(err.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644), STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

}  // namespace

ClientRun runClient(const std::vector<std::string>& args, const std::vector<std::string>& environment) {
    std::string command = "env";
    for (const std::string& entry : environment) command += " '" + entry + "'";
    return runShell(command + " timeout -s KILL 20" + clientCommand(args));
}

ClientRun runClientOnTerminal(const std::vector<std::string>& args) {
    return runShell("timeout -s KILL 20 script -qefc \"" + clientCommand(args) + "\" /dev/null");
}

ClientProcess::ClientProcess(const std::vector<std::string>& args)
    : pid_(spawn(ROBOCOMM_CLIENT_PATH, args, folder_.path() + "/out", folder_.path() + "/err")) {}

ClientProcess::~ClientProcess() {
    if (pid_ > 0) finish();
}

bool ClientProcess::awaitNote(const std::string& text, size_t times) const {
    return awaitText(folder_.path() + "/err", text, times);
}

void ClientProcess::interrupt() const { kill(pid_, SIGINT); }

ClientRun ClientProcess::finish() {
    int status = 0;
    pid_t reaped = 0;
    for (int i = 0; i < 1000 && (reaped = waitpid(pid_, &status, WNOHANG)) == 0; ++i)
        std::this_thread::sleep_for(kStep);
    if (reaped == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
    }
    pid_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 137, fileText(folder_.path() + "/out"),
            fileText(folder_.path() + "/err")};
}

DemoHost::DemoHost(bool plain) {
    std::vector<std::string> args{"--run-dir", runFolder()};
    if (plain) args.push_back("--plain");
    pid_ = spawn(ROBOCOMM_DEMO_HOST_PATH, args, folder_.path() + "/terminal", folder_.path() + "/terminal");
}

std::string DemoHost::output() const { return fileText(folder_.path() + "/terminal"); }

bool DemoHost::awaitOutput(const std::string& text) const { return awaitText(folder_.path() + "/terminal", text); }

bool DemoHost::awaitLibraryLog(const std::string& text, size_t times) const {
    return awaitText(runFolder() + "/robocomm.log", text, times);
}

int DemoHost::stop() {
    if (pid_ <= 0) return status_;
    kill(pid_, SIGTERM);
    int status = 0;
    pid_t reaped = 0;
    for (int i = 0; i < 250 && (reaped = waitpid(pid_, &status, WNOHANG)) == 0; ++i) std::this_thread::sleep_for(kStep);
    if (reaped == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
    }
    status_ = reaped == pid_ && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    pid_ = -1;
    return status_;
}

Json::Value parseJson(const std::string& text) {
    Json::Value root;
    std::string errors;
    std::istringstream stream(text);
    return Json::parseFromStream(Json::CharReaderBuilder(), stream, &root, &errors) ? root : Json::Value();
}

std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace e2e
