// robocomm-fleet: the robots of a site on an MQTT broker, as VDA 5050 2.1
// vehicles. main reads the settings and wires one Vehicle per robot; the
// work lives in the files named after the standard's topics.
#include <signal.h>

#include <ctime>
#include <iostream>
#include <memory>
#include <vector>

#include "common/failure.h"
#include "common/tool_main.h"
#include "common/mqtt_link.h"
#include "fleet/options.h"
#include "fleet/vehicle.h"

using namespace robocomm;
using namespace robocomm::fleet;
using namespace robocomm::tools;

namespace {

// How often the clock looks at the states due.
constexpr int kTickSeconds = 1;
// All OFFLINE messages together wait this long for the broker at the end.
constexpr Millis kGoodbyePatience{3000};

int serve(const FleetSettings& s) {
    // SIGINT and SIGTERM are taken here, between two ticks, not by a handler.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN);  // a robot or broker may go while we write

    startMqtt();
    std::vector<std::unique_ptr<Vehicle>> vehicles;
    for (const VehicleSettings& robot : s.robots) vehicles.push_back(std::make_unique<Vehicle>(robot, s.codes));
    std::cerr << kTool << ": " << vehicles.size() << " robot(s) on broker " << s.common.broker.host << std::endl;

    const timespec tick{kTickSeconds, 0};
    while (sigtimedwait(&stopSignals, nullptr, &tick) < 0)
        for (auto& vehicle : vehicles) vehicle->tick();

    const auto deadline = Clock::now() + kGoodbyePatience;
    for (auto& vehicle : vehicles)
        vehicle->goOffline(std::max(Millis(0), std::chrono::duration_cast<Millis>(deadline - Clock::now())));
    vehicles.clear();
    stopMqtt();
    std::cerr << kTool << ": every robot OFFLINE" << std::endl;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    FleetSettings settings;
    return toolMain(
        kTool, kUsage,
        [&] {
            settings = parseSettings(argc, argv);
            return ToolRequest{settings.help, settings.version};
        },
        [&] { return serve(settings); });
}
