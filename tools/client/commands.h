// The client's verbs. Each connects, does its exchange, prints through
// Output and returns, or throws Failure with the reason and the exit status.
#pragma once

#include <string>

#include "client/output.h"
#include "common/link.h"
#include "intake/command_table.h"

namespace robocomm::client {

struct Settings {
    tools::LinkOptions link;
    bool json = false;
    // Where to write the decoded "data" member of the answer ("-": stdout).
    std::string saveTo;
    // watch: acknowledge error pushes, and reconnect when the link drops.
    bool acknowledge = false;
    bool reconnect = true;
};

// Sends one command and prints the robot's answer (get, set, send).
void runRequest(const Settings& settings, const CommandSpec& command, const std::string& document);
// Prints the robot's pushes for `duration`, or until Ctrl-C.
void runWatch(const Settings& settings, tools::Millis duration);
// Streams a firmware image and waits for the robot's verdict.
void runOta(const Settings& settings, const std::string& imagePath);
// Fetches the log bundle, checks its digest and writes the archive.
void runLog(const Settings& settings, const std::string& archivePath);
// The whole vocabulary with its parameters.
void printCommandList(const Output& output);

}  // namespace robocomm::client
