#include "console/map_edit.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "common/failure.h"
#include "common/files.h"
#include "common/json_text.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// Fewest points of a shape: an area needs three corners, a wall two ends.
constexpr size_t kAreaPoints = 3;
constexpr size_t kWallPoints = 2;

Failure wrong(const std::string& where, const std::string& what) {
    return Failure(Exit::Usage, "map edit: " + where + ": " + what);
}

void checkText(const Json::Value& element, const char* key, const std::string& where, bool required) {
    const Json::Value& value = element[key];
    if (value.isString() && (!required || !value.asString().empty())) return;
    if (value.isNull() && !required) return;
    throw wrong(where + "." + key, required ? "a text that is not empty" : "a text");
}

void checkPoint(const Json::Value& point, const std::string& where) {
    if (!point.isObject() || !point["x"].isNumeric() || !point["y"].isNumeric())
        throw wrong(where, "a point {\"x\": number, \"y\": number}");
    // The heading of a station or a start position rides along; the robot's
    // parser reads x and y only.
    if (point.isMember("theta") && !point["theta"].isNumeric()) throw wrong(where + ".theta", "a number");
}

// robot_path and image_path: the same corners in both coordinates.
void checkPaths(const Json::Value& element, const std::string& where, size_t fewest) {
    const Json::Value& robot = element["robot_path"];
    const Json::Value& image = element["image_path"];
    // An area without robot_path would make the robot drop every area
    // listed before it.
    if (!robot.isArray()) throw wrong(where + ".robot_path", "a list of points");
    if (!image.isArray()) throw wrong(where + ".image_path", "a list of points");
    if (robot.size() < fewest) throw wrong(where + ".robot_path", std::to_string(fewest) + " points at least");
    if (image.size() != robot.size()) throw wrong(where + ".image_path", "as many points as robot_path");
    for (Json::ArrayIndex i = 0; i < robot.size(); ++i) {
        checkPoint(robot[i], where + ".robot_path[" + std::to_string(i) + "]");
        checkPoint(image[i], where + ".image_path[" + std::to_string(i) + "]");
    }
}

void checkPlace(const Json::Value& element, const std::string& where) {
    checkPoint(element["robot_position"], where + ".robot_position");
    checkPoint(element["image_position"], where + ".image_position");
}

struct Section {
    const char* key;
    void (*check)(const Json::Value& element, const std::string& where);
};

const Section kSections[] = {
    {"room_list",
     [](const Json::Value& e, const std::string& where) {
         for (const char* key : {"name", "color", "desc"}) checkText(e, key, where, false);
         checkPaths(e, where, kAreaPoints);
     }},
    {"block_area", [](const Json::Value& e, const std::string& where) { checkPaths(e, where, kAreaPoints); }},
    {"block_wall", [](const Json::Value& e, const std::string& where) { checkPaths(e, where, kWallPoints); }},
    {"charging_station", checkPlace},
    {"init_position", checkPlace},
};

void checkSection(const Json::Value& list, const Section& section, std::set<std::string>& ids) {
    if (list.isNull()) return;
    if (!list.isArray()) throw wrong(section.key, "a list");
    for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
        const std::string where = std::string(section.key) + "[" + std::to_string(i) + "]";
        const Json::Value& element = list[i];
        if (!element.isObject()) throw wrong(where, "an object");
        checkText(element, "id", where, true);
        if (!ids.insert(element["id"].asString()).second)
            throw wrong(where + ".id", "\"" + element["id"].asString() + "\" is used twice");
        section.check(element, where);
    }
}

void checkInfo(const Json::Value& info) {
    if (!info.isObject()) throw wrong("info", "an object with uid, version and modified");
    checkText(info, "uid", "info", true);
    checkText(info, "version", "info", false);
    checkText(info, "modified", "info", false);
}

void checkByPass(const Json::Value& byPass) {
    static const std::set<std::string> kKeys = {"info",       "room_list",        "block_area",
                                                "block_wall", "charging_station", "init_position"};
    for (const std::string& key : byPass.getMemberNames())
        if (!kKeys.count(key)) throw wrong("ByPass", "no such part \"" + key + "\"");
    checkInfo(byPass["info"]);
    std::set<std::string> ids;
    for (const Section& section : kSections) checkSection(byPass[section.key], section, ids);
}

std::string fileName(const LinkOptions& robot) {
    std::string host = robot.host;
    for (char& c : host)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '-') c = '_';
    return "map-edit-" + host + "-" + std::to_string(robot.port) + ".json";
}

std::optional<std::string> readKept(const std::string& path) {
    std::error_code missing;
    if (!std::filesystem::exists(path, missing)) return std::nullopt;
    const std::string text = readWholeFile(path);
    Json::Value document;
    std::string errors;
    // A file damaged by hand is left for the operator to look at, not offered.
    if (!parseJson(text, document, errors)) return std::nullopt;
    return text;
}

}  // namespace

std::string mapEditRequest(const Json::Value& document, const LinkOptions& link) {
    if (!document.isObject() || !document["Request"].isObject() || !document["Request"]["Set"].isObject() ||
        !document["Request"]["Set"]["ByPass"].isObject())
        throw wrong("document", "{\"Request\": {\"Set\": {\"ByPass\": {...}}}} expected");
    checkByPass(document["Request"]["Set"]["ByPass"]);
    std::string text = compactJson(document);
    try {
        checkOneFrame(commandWireSize(link, text.size()));
    } catch (const Failure& tooLarge) {
        throw wrong("document", tooLarge.what());
    }
    return text;
}

std::string defaultStateFolder() {
    if (const char* systemd = std::getenv("STATE_DIRECTORY"); systemd && *systemd) return systemd;
    if (const char* xdg = std::getenv("XDG_STATE_HOME"); xdg && *xdg) return std::string(xdg) + "/robocomm-console";
    const char* home = std::getenv("HOME");
    return std::string(home && *home ? home : ".") + "/.local/state/robocomm-console";
}

MapEditStore::MapEditStore(const std::string& folder, const LinkOptions& robot)
    : folder_(folder), path_(folder + "/" + fileName(robot)), last_(readKept(path_)) {}

std::optional<std::string> MapEditStore::last() {
    std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}

void MapEditStore::keep(const std::string& request) {
    std::lock_guard<std::mutex> lock(mutex_);
    last_ = request;
    std::error_code failed;
    std::filesystem::create_directories(folder_, failed);
    if (failed) throw Failure(Exit::Failed, "cannot create " + folder_ + ": " + failed.message());
    // A console stopped halfway leaves the previous edit whole.
    const std::string partial = path_ + ".partial";
    writeWholeFile(partial, request);
    std::filesystem::rename(partial, path_, failed);
    if (failed) throw Failure(Exit::Failed, "cannot write " + path_ + ": " + failed.message());
}

}  // namespace robocomm::console
