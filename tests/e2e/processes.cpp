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

// The words that start a tool: the emulator's, if any, then the program.
std::vector<std::string> toolCommand(const char* program) {
    std::vector<std::string> words;
    std::istringstream emulator(ROBOCOMM_TOOL_EMULATOR);
    for (std::string word; emulator >> word;) words.push_back(word);
    words.push_back(program);
    return words;
}

}  // namespace

ClientRun runClient(const std::vector<std::string>& args) {
    const robotest::TempDir folder;
    std::string command = "timeout -s KILL 20";
    for (const std::string& word : toolCommand(ROBOCOMM_CLIENT_PATH)) command += " " + word;
    for (const std::string& arg : args) command += " '" + arg + "'";
    const int status = std::system((command + " >" + folder.path() + "/out 2>" + folder.path() + "/err").c_str());
    return {WEXITSTATUS(status), fileText(folder.path() + "/out"), fileText(folder.path() + "/err")};
}

DemoHost::DemoHost(bool plain) {
    const std::string runFolder = this->runFolder(), terminal = folder_.path() + "/terminal";
    std::vector<std::string> words = toolCommand(ROBOCOMM_DEMO_HOST_PATH);
    words.insert(words.end(), {"--run-dir", runFolder});
    if (plain) words.push_back("--plain");
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int out = open(terminal.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
}

std::string DemoHost::output() const { return fileText(folder_.path() + "/terminal"); }

bool DemoHost::awaitOutput(const std::string& text) const {
    for (int i = 0; i < 250 && output().find(text) == std::string::npos; ++i) std::this_thread::sleep_for(kStep);
    return output().find(text) != std::string::npos;
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
