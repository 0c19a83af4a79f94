// The frame of a long-running tool's main: help, version, and a Failure
// turned into one line on stderr and its exit status.
#pragma once

#include <functional>
#include <string>

namespace robocomm::tools {

struct ToolRequest {
    bool help = false;
    bool version = false;
};

// Runs `parse` (which fills `request` and may throw Failure), then prints
// `usage` for help, "TOOL, robocomm library 0.32.2" for the version, or
// runs `serve`. Returns the exit status.
int toolMain(const std::string& tool, const std::string& usage, const std::function<ToolRequest()>& parse,
             const std::function<int()>& serve);

}  // namespace robocomm::tools
