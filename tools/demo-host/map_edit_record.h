// The map edit as the robot holds it, written out as text so that an
// operator (or a test) can see what reached the robot: one line per
// element, its places in robot and in image coordinates.
#pragma once

#include <robocomm.h>

#include <string>

namespace demo {

// info UID VERSION MODIFIED
// block_area ID robot X,Y X,Y ... image X,Y X,Y ...
// charging_station ID robot X,Y image X,Y
std::string mapEditRecordText(const ByPassOneData_t& edit);

}  // namespace demo
