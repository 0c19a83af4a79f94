#include "robot.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fstream>
#include <sstream>

namespace demo {

bool insideRoom(double x, double y) { return x > 0 && y > 0 && x < Robot::kRoomSize && y < Robot::kRoomSize; }

namespace {

constexpr double kArrived = 0.02;       // m
constexpr double kIdleDrain = 0.02;     // percent per second
constexpr double kDriveDrain = 0.5;     // percent per second at 1 m/s
constexpr double kChargeRate = 1.0;     // percent per second
constexpr size_t kJournalLines = 20;

// Distance to the wall along a heading, in 1 cm steps.
double clearance(const Pose& from, double heading) {
    double d = 0;
    while (d < Robot::kRoomSize * 2 &&
           insideRoom(from.x + (d + 0.01) * std::cos(heading), from.y + (d + 0.01) * std::sin(heading)))
        d += 0.01;
    return d;
}

}  // namespace

void Robot::step(double dt) {
    const bool moving = motion != Motion::Idle && drivingEnabled && !emergencyStop;
    if (!moving) {
        v = 0;
        w = 0;
    } else if (motion == Motion::Manual) {
        const double x = pose.x + v * std::cos(pose.theta) * dt;
        const double y = pose.y + v * std::sin(pose.theta) * dt;
        if (insideRoom(x, y)) {
            pose.x = x;
            pose.y = y;
        }
        pose.theta = std::remainder(pose.theta + w * dt, 2 * M_PI);
    } else {
        const double dx = target.x - pose.x;
        const double dy = target.y - pose.y;
        const double distance = std::hypot(dx, dy);
        if (distance < kArrived) {
            pose = target;
            v = 0;
            docked = charging = motion == Motion::Docking;
            note(docked ? "docked at the charging station" : "arrived at the target");
            motion = Motion::Idle;
        } else {
            const double stride = std::min(distance, maxSpeed * dt);
            pose.theta = std::atan2(dy, dx);
            pose.x += stride * std::cos(pose.theta);
            pose.y += stride * std::sin(pose.theta);
            v = stride / dt;
            w = 0;
        }
    }
    const double before = battery;
    battery += charging ? kChargeRate * dt : -(kIdleDrain + kDriveDrain * std::fabs(v)) * dt;
    battery = std::clamp(battery, 0.0, 100.0);
    if (before >= kLowBattery && battery < kLowBattery) raiseError("BATTERY-LOW", 2);
}

bool Robot::driveTo(const Pose& goal) {
    if (!insideRoom(goal.x, goal.y)) return false;
    target = goal;
    motion = Motion::ToTarget;
    docked = charging = false;
    std::ostringstream event;
    event << "driving to (" << goal.x << ", " << goal.y << ")";
    note(event.str());
    return true;
}

void Robot::returnToStation() {
    target = station;
    motion = Motion::Docking;
    note("returning to the charging station");
}

void Robot::driveManually(double speed, double turnRate) {
    v = speed;
    w = turnRate;
    motion = Motion::Manual;
}

void Robot::halt() {
    motion = Motion::Idle;
    v = w = 0;
}

void Robot::pressEmergencyStop() {
    halt();
    emergencyStop = true;
    raiseError("EMERGENCY-STOP", 1);
}

void Robot::recover() {
    emergencyStop = false;
    for (ErrorRecord& error : errors) error.resolved = 1;
    note("recovered; every error resolved");
}

void Robot::raiseError(const std::string& code, int rank) {
    errors.push_back({0, rank, code});
    note("error " + code);
}

double Robot::distanceToTarget() const {
    return motion == Motion::Idle ? 0 : std::hypot(target.x - pose.x, target.y - pose.y);
}

double Robot::clearanceAhead() const { return clearance(pose, pose.theta); }
double Robot::clearanceBehind() const { return clearance(pose, pose.theta + M_PI); }

std::string Robot::mapImage() const {
    const std::string header = "P5\n" + std::to_string(kMapCells) + " " + std::to_string(kMapCells) + "\n255\n";
    std::string cells(kMapCells * kMapCells, static_cast<char>(254));
    const auto paint = [&cells](int cx, int cy, int radius, unsigned char shade) {
        for (int y = cy - radius; y <= cy + radius; ++y)
            for (int x = cx - radius; x <= cx + radius; ++x)
                if (x >= 0 && y >= 0 && x < kMapCells && y < kMapCells)
                    cells[(kMapCells - 1 - y) * kMapCells + x] = static_cast<char>(shade);  // row 0 is the top
    };
    for (int i = 0; i < kMapCells; ++i) {
        paint(i, 0, 0, 0);
        paint(i, kMapCells - 1, 0, 0);
        paint(0, i, 0, 0);
        paint(kMapCells - 1, i, 0, 0);
    }
    paint(44, 24, 4, 0);  // a table
    const auto cell = [](double metres) { return static_cast<int>(metres / kCellSize); };
    paint(cell(station.x), cell(station.y), 1, 200);
    paint(cell(pose.x), cell(pose.y), 1, 128);
    return header + cells;
}

void Robot::note(const std::string& event) {
    char stamp[32];
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&now, &utc));
    journal_.push_back(std::string(stamp) + " " + event);
    if (journal_.size() > kJournalLines) journal_.pop_front();
    say("robot: " + event);
}

void Robot::writeLog() const {
    std::ofstream out(logFolder + "/robot.log", std::ios::trunc);
    out << "demo robot log, the last " << kJournalLines << " events\n";
    for (const std::string& line : journal_) out << line << '\n';
}

}  // namespace demo
