// The client's verbs. Each connects, does its exchange and returns, or
// throws Failure with the reason and the exit status.
#pragma once

#include <string>

#include "client/link.h"
#include "intake/command_table.h"

namespace robocomm::client {

struct Settings {
    LinkOptions link;
    // One compact JSON line per result instead of the robot's indented text.
    bool json = false;
    // Where to write the decoded "data" member of the answer, if anywhere.
    std::string saveTo;
};

// Sends one command and prints the robot's answer (get, set, send).
void runRequest(const Settings& settings, const CommandSpec& command, const std::string& document);
// Prints the robot's pushes for `duration`, or until interrupted.
void runWatch(const Settings& settings, Millis duration);
// Streams a firmware image and waits for the robot's verdict.
void runOta(const Settings& settings, const std::string& imagePath);
// Fetches the log bundle, checks its digest and writes the archive.
void runLog(const Settings& settings, const std::string& archivePath);
// The whole vocabulary with its parameters.
void printCommandList(bool json);

}  // namespace robocomm::client
