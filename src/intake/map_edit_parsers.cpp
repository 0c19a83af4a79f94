// The map-edit document: rooms, blocked areas and walls, charging stations and
// start positions. Only read-only member access is used, so a missing key reads
// as null and the document is never changed.
#include <iostream>

#include "robocomm/intake.h"

namespace {

template <class Element, class Parse>
std::vector<Element> parseList(const Json::Value& list, Parse parse) {
    std::vector<Element> elements;
    for (const Json::Value& element : list) {
        elements.push_back(parse(element));
    }
    return elements;
}

std::vector<Position_t> parsePath(const Json::Value& points) { return parseList<Position_t>(points, parsePosition); }

// An element without robot_path wipes every area collected before it, on
// purpose: only the areas after the last such element survive.
std::vector<BlockArea_t> parseAreas(const Json::Value& list, const char* listName) {
    std::vector<BlockArea_t> areas;
    for (const Json::Value& element : list) {
        if (element["robot_path"].isNull()) {
            std::cout << "robot_path is null in " << listName << std::endl;
            areas.clear();
            continue;
        }
        areas.push_back(parseBlockArea(element));
    }
    return areas;
}

// Rooms and areas carry their outline twice: in robot and in image coordinates.
template <class Shape>
void readPaths(const Json::Value& v, Shape& shape) {
    shape.robot_path = parsePath(v["robot_path"]);
    shape.image_path = parsePath(v["image_path"]);
}

template <class Station>
Station parseStation(const Json::Value& v) {
    Station station;
    station.id = v["id"].asString();
    station.robot_position = parsePosition(v["robot_position"]);
    station.image_position = parsePosition(v["image_position"]);
    return station;
}

}  // namespace

Position_t parsePosition(const Json::Value& v) {
    Position_t position;
    position.x = v["x"].asDouble();
    position.y = v["y"].asDouble();
    return position;
}

Room_t parseRoom(const Json::Value& v) {
    Room_t room;
    room.id = v["id"].asString();
    room.name = v["name"].asString();
    room.color = v["color"].asString();
    room.desc = v["desc"].asString();
    readPaths(v, room);
    return room;
}

BlockArea_t parseBlockArea(const Json::Value& v) {
    BlockArea_t area;
    area.id = v["id"].asString();
    readPaths(v, area);
    return area;
}

ChargingStation_t parseChargingStation(const Json::Value& v) { return parseStation<ChargingStation_t>(v); }

InitPosition_t parseInitPosition(const Json::Value& v) { return parseStation<InitPosition_t>(v); }

ByPassOneData_t parseBypassOneData(const Json::Value& doc) {
    ByPassOneData_t edit;
    const Json::Value& info = doc["info"];
    edit.uid = info["uid"].asString();
    edit.version = info["version"].asString();
    edit.modified = info["modified"].asString();
    edit.room_list = parseList<Room_t>(doc["room_list"], parseRoom);
    edit.block_area = parseAreas(doc["block_area"], "block_area");
    edit.block_wall = parseAreas(doc["block_wall"], "block_wall");
    edit.charging_station = parseList<ChargingStation_t>(doc["charging_station"], parseChargingStation);
    edit.init_position = parseList<InitPosition_t>(doc["init_position"], parseInitPosition);
    return edit;
}
