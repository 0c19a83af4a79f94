// The simulated robot behind the demo host: a differential-drive base in a
// 3.2 m square room with a charging station, a battery that drains while it
// drives and charges while docked, and a list of errors. Nothing here knows
// about the link; main.cpp and serve.cpp connect it to the library.
#pragma once

#include <robocomm.h>

#include <deque>
#include <string>
#include <vector>

namespace demo {

struct Pose {
    double x = 0;
    double y = 0;
    double theta = 0;
};

// What the base is doing; reported as the moving and action state.
enum class Motion { Idle = 0, ToTarget = 1, Manual = 2, Docking = 3 };

struct Robot {
    // The room: kMapCells x kMapCells cells of kCellSize metres.
    static constexpr int kMapCells = 64;
    static constexpr double kCellSize = 0.05;
    static constexpr double kRoomSize = kMapCells * kCellSize;
    // Below this charge (percent) the robot raises an error and asks to dock.
    static constexpr double kLowBattery = 15;

    Pose pose{1.6, 1.6, 0.0};
    Pose target = pose;
    Pose station{0.3, 0.3, 0.0};
    Motion motion = Motion::Idle;
    bool drivingEnabled = true;
    bool emergencyStop = false;
    double maxSpeed = 0.4;  // m/s
    double v = 0;           // m/s
    double w = 0;           // rad/s
    double battery = 80;    // percent
    bool charging = false;
    bool docked = false;
    bool lidarOn = true;
    bool mapping = false;
    bool factoryMode = false;
    bool batterySleep = false;
    bool inspectionMode = false;
    int32_t excelSteps = 0;
    int32_t settingValue = 0;
    int32_t configValue = 0;
    int32_t aiCalibration = 0;
    ModifiedMapDataB_t modifiedMap{0, 0, {}};
    ByPassOneData_t mapEdit;
    OTAInfo_t announcedFirmware{"", 0};
    // Open errors are pushed to the client until it acknowledges a push
    // that carried them: errors[0, errorsAcknowledged) are confirmed.
    std::vector<ErrorRecord> errors;
    size_t errorsPushed = 0;
    size_t errorsAcknowledged = 0;
    std::string logFolder;
    // What the robot-info answer reports.
    std::string serial = "DEMO-0001";

    // Advances the simulation by dt seconds.
    void step(double dt);
    // False when the pose lies outside the room.
    bool driveTo(const Pose& goal);
    void returnToStation();
    // Speeds in m/s and rad/s, held until the next motion command.
    void driveManually(double speed, double turnRate);
    void halt();
    void pressEmergencyStop();
    // Clears the emergency stop and resolves every error.
    void recover();
    void raiseError(const std::string& code, int rank);

    double distanceToTarget() const;
    // Free space ahead of and behind the robot, up to the walls.
    double clearanceAhead() const;
    double clearanceBehind() const;
    // The room as a binary PGM image, the robot drawn in grey.
    std::string mapImage() const;

    // A line in the robot's own log; the last few are kept for the log bundle.
    void note(const std::string& event);
    // Writes the kept lines into logFolder (the log bundle's content).
    void writeLog() const;

private:
    std::deque<std::string> journal_;
};

// True when the point lies within the room's walls.
bool insideRoom(double x, double y);

// The demo host's own messages, on its original standard output.
void say(const std::string& line);

}  // namespace demo
