#include "responses/status_members.h"

#include <utility>

namespace robocomm {
namespace {

constexpr const char* kObjectMembers[] = {"classID", "confidence", "x", "y", "theta", "width", "height", "distance"};
constexpr const char* kPointMembers[] = {"x", "y", "theta", "direction", "height", "distance"};

template <typename Record, typename Fill>
Json::Value recordList(const std::vector<Record>& records, Fill fill) {
    Json::Value list(Json::arrayValue);
    for (const Record& record : records) {
        Json::Value entry(Json::objectValue);
        fill(entry, record);
        list.append(std::move(entry));
    }
    return list;
}

}  // namespace

Json::Value objectList(const std::vector<ObjectDataV2>& objects) {
    return recordList(objects, [](Json::Value& entry, const ObjectDataV2& o) {
        setMembers(entry, kObjectMembers, {o.classID, o.confidence, o.x, o.y, o.theta, o.width, o.height, o.distance});
    });
}

Json::Value pointList(const std::vector<LLDataV2>& points) {
    return recordList(points, [](Json::Value& entry, const LLDataV2& p) {
        setMembers(entry, kPointMembers, {p.x, p.y, p.theta, p.direction, p.height, p.distance});
    });
}

Json::Value distanceList(const std::vector<int>& distances) {
    Json::Value list(Json::arrayValue);
    for (int distance : distances) list.append(distance);
    return list;
}

}  // namespace robocomm
