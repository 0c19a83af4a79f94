// The console's one link to the robot, owned by one thread. The thread
// connects and reconnects, polls the robot's state within the link's
// limits, passes the robot's pushes to the event stream, and carries out the
// browsers' requests one at a time between two polls. Since everything goes
// through that thread, no two frames ever leave closer than the link's pause
// and no command has two answers outstanding.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "common/link.h"
#include "console/events.h"
#include "intake/command_table.h"

namespace robocomm::console {

// The robot accepted the connection but answers nothing: it serves another
// client, one at a time.
class RobotHeld : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Session {
public:
    Session(const tools::LinkOptions& options, EventHub& events);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // As the event stream names it: "connecting", "up", "down", "held".
    enum class LinkState { Connecting, Up, Down, Held };

    using Work = std::function<void(tools::Link&)>;
    // Runs `work` on the link's thread and rethrows what it threw. Throws
    // Failure(Unreachable) while the link is down, RobotHeld while another
    // client holds the robot, Failure(Timeout) when the requests queued
    // before it kept it waiting too long.
    void run(const Work& work);

    // One command: the robot's answer document, or {"outcome": "delivered"}
    // for a command the robot does not answer.
    Json::Value request(const CommandSpec& command, const std::string& document);

private:
    struct Job {
        Work work;
        std::promise<void> done;
        tools::Clock::time_point startBy;
    };

    void loop();
    // Hands a message that came between two answers to the event stream.
    void dispatch(tools::Link& link, const tools::Message& message);
    void connect();
    void identify();
    void pollNext();
    void runJob(Job& job);
    void lose(const tools::Failure& failure);
    void setState(LinkState state, const std::string& reason);
    // Waits out the pause before the next connection attempt, failing the
    // requests that come meanwhile.
    void rest(tools::Millis pause);
    std::shared_ptr<Job> takeJob(tools::Millis wait);
    std::exception_ptr downError() const;
    bool stopping();
    Json::Value exchange(tools::Link& link, const CommandSpec& command, const std::string& document);

    const tools::LinkOptions options_;
    EventHub& events_;
    std::unique_ptr<tools::Link> link_;
    LinkState state_ = LinkState::Connecting;
    std::string reason_;
    size_t nextPoll_ = 0;
    tools::Clock::time_point pollDue_{};

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::shared_ptr<Job>> jobs_;
    bool stopping_ = false;
    std::thread thread_;
};

// The answer's one document below "Response" / "Get" (or "Set"): what the
// page shows of it.
Json::Value answerBody(const Json::Value& document);

}  // namespace robocomm::console
