// The map edit the operator draws on the page: the ByPassOneData document
// (code 71) checked before it goes to the robot, and the last one sent to
// each robot, kept in the console's state folder.
#pragma once

#include <json/value.h>

#include <mutex>
#include <optional>
#include <string>

#include "common/link.h"

namespace robocomm::console {

// The request text for `document`, in the envelope robocomm-client send 71
// takes: {"Request": {"Set": {"ByPass": {"info": ..., "room_list": [...], ...}}}}.
// Throws Failure(Usage) naming the first thing wrong ("block_area[1].
// robot_path: 3 points at least"), so that the robot's own parser never
// meets a value of the wrong kind, and for a document too large for one
// frame, by how much.
std::string mapEditRequest(const Json::Value& document, const tools::LinkOptions& link);

// Where the console keeps its state: $STATE_DIRECTORY (systemd),
// $XDG_STATE_HOME/robocomm-console or ~/.local/state/robocomm-console.
std::string defaultStateFolder();

// The last map edit the robot accepted from this console, one file per
// robot ("map-edit-HOST-PORT.json"), read when the console starts.
class MapEditStore {
public:
    MapEditStore(const std::string& folder, const tools::LinkOptions& robot);

    // The request text, or nothing before the first edit.
    std::optional<std::string> last();
    // Throws Failure(Failed) when the file cannot be written; the edit
    // then stays kept in memory.
    void keep(const std::string& request);

    const std::string& path() const { return path_; }

private:
    const std::string folder_;
    const std::string path_;
    std::mutex mutex_;
    std::optional<std::string> last_;
};

}  // namespace robocomm::console
