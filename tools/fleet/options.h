// The fleet bridge's settings, from the environment, a site's config file
// (JSON; its keys are the long options' names) and the command line, in
// that order, each overriding the one before.
#pragma once

#include <string>
#include <vector>

#include "common/robot_codes.h"
#include "fleet/vehicle.h"

namespace robocomm::fleet {

extern const char kTool[];
extern const std::string kUsage;

struct FleetSettings {
    // Shared by every robot; each VehicleSettings differs in serial and link.
    VehicleSettings common;
    std::vector<VehicleSettings> robots;
    tools::RobotCodes codes = tools::RobotCodes::builtIn();
    bool help = false;
    bool version = false;
};

// Throws Failure(Usage) for anything it cannot use.
FleetSettings parseSettings(int argc, char** argv);

}  // namespace robocomm::fleet
