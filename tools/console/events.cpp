#include "console/events.h"

#include "common/json_text.h"

namespace robocomm::console {

namespace {

// Enough for a browser that stalls a few seconds while the robot talks.
constexpr size_t kBacklog = 512;

// One SSE event: compact JSON keeps the data on one line.
std::string sseText(const std::string& name, const Json::Value& data) {
    return "event: " + name + "\ndata: " + tools::compactJson(data) + "\n\n";
}

}  // namespace

void EventHub::publish(const std::string& name, const Json::Value& data, bool keep) {
    const std::string text = sseText(name, data);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        recent_.push_back({++lastId_, text});
        if (recent_.size() > kBacklog) recent_.pop_front();
        if (keep) kept_[name] = text;
    }
    changed_.notify_all();
}

std::string EventHub::snapshot(uint64_t& cursor) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::string text;
    for (const auto& entry : kept_) text += entry.second;
    cursor = lastId_;
    return text;
}

std::string EventHub::next(uint64_t& cursor, tools::Millis wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, wait, [&] { return closed_ || lastId_ > cursor; });
    std::string text;
    for (const Event& event : recent_)
        if (event.id > cursor) text += event.text;
    cursor = lastId_;
    return text;
}

void EventHub::close() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
}

bool EventHub::closed() {
    std::lock_guard<std::mutex> lock(mutex_);
    return closed_;
}

}  // namespace robocomm::console
