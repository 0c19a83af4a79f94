#include "map_edit_record.h"

#include <sstream>
#include <vector>

namespace demo {

namespace {

void points(std::ostream& out, const char* label, const std::vector<Position_t>& places) {
    out << ' ' << label;
    for (const Position_t& p : places) out << ' ' << p.x << ',' << p.y;
}

template <typename Shape>
void shapes(std::ostream& out, const char* list, const std::vector<Shape>& elements) {
    for (const Shape& e : elements) {
        out << list << ' ' << e.id;
        points(out, "robot", e.robot_path);
        points(out, "image", e.image_path);
        out << '\n';
    }
}

template <typename Place>
void places(std::ostream& out, const char* list, const std::vector<Place>& elements) {
    for (const Place& e : elements) {
        out << list << ' ' << e.id;
        points(out, "robot", {e.robot_position});
        points(out, "image", {e.image_position});
        out << '\n';
    }
}

}  // namespace

std::string mapEditRecordText(const ByPassOneData_t& edit) {
    std::ostringstream out;
    out.precision(10);
    out << "info " << edit.uid << ' ' << edit.version << ' ' << edit.modified << '\n';
    shapes(out, "room_list", edit.room_list);
    shapes(out, "block_area", edit.block_area);
    shapes(out, "block_wall", edit.block_wall);
    places(out, "charging_station", edit.charging_station);
    places(out, "init_position", edit.init_position);
    return out.str();
}

}  // namespace demo
