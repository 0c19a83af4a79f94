#include <signal.h>

#include <csignal>

#include "common/failure.h"

namespace robocomm::tools {

namespace {

volatile std::sig_atomic_t interrupted = 0;

}  // namespace

bool interruptRequested() { return interrupted != 0; }

void catchInterrupt() {
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = 1; };
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

void checkInterrupt() {
    if (interruptRequested()) throw Failure(Exit::Interrupted, "interrupted");
}

}  // namespace robocomm::tools
