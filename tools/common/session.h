// A tool's one link to one robot, owned by one thread. The thread connects
// and reconnects, asks the robot's identity once per connection, polls the
// robot's state within the link's limits, hands the answers and the
// robot's pushes to a listener, and carries out the tool's requests one at
// a time between two polls. Since everything goes through that thread, no
// two frames ever leave closer than the link's pause and no command has two
// answers outstanding. The console has one; the fleet bridge one per robot.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "common/link.h"
#include "intake/command_table.h"

namespace robocomm::tools {

// The robot accepted the connection but answers nothing: it serves another
// client, one at a time.
class RobotHeld : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class LinkState { Connecting, Up, Down, Held };
// "connecting", "up", "down", "held"
const char* linkStateName(LinkState state);

// What the session learns, told on the session's thread. Each call must be
// short: the robot's next poll waits for it.
class SessionListener {
public:
    virtual ~SessionListener() = default;
    // `reason` is empty while connecting or up.
    virtual void linkChanged(LinkState state, const std::string& reason) = 0;
    // An identity or poll answer's body ("position" -> {"x": 1, ...}).
    virtual void answered(const std::string& name, const Json::Value& body) = 0;
    // A message the robot sent unasked (kind 15), between two answers.
    virtual void pushed(const Message& message, const Json::Value& document) = 0;
};

// What the session asks on its own, and how often.
struct SessionPlan {
    // "the console": who is talking in the session's failure texts.
    std::string tool = "the console";
    // Asked once per connection, then polled in turn (kebab names).
    std::vector<std::string> identity;
    std::vector<std::string> polls;
    // From one poll's answer to the next poll.
    Millis pollGap{100};
    // The pause after a failed connection doubles up to the limit and falls
    // back once the robot is up again.
    Millis reconnectPause{1000};
    Millis reconnectPauseLimit{1000};
};

class Session {
public:
    // The listener must outlive the session.
    Session(const LinkOptions& options, SessionPlan plan, SessionListener& listener);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const LinkOptions& options() const { return options_; }

    using Work = std::function<void(Link&)>;
    // Runs `work` on the link's thread and rethrows what it threw. Throws
    // Failure(Unreachable) while the link is down, RobotHeld while another
    // client holds the robot, Failure(Timeout) when the requests queued
    // before it kept it waiting too long.
    void run(const Work& work);
    // The same without waiting: `settled` gets null or what `work` threw,
    // on the link's thread (or on the caller's when the session is stopping).
    using Settled = std::function<void(std::exception_ptr)>;
    void post(Work work, Settled settled);

    // One command: the robot's answer document, or {"outcome": "delivered"}
    // for a command the robot does not answer. Pushes that come meanwhile
    // reach the listener.
    Json::Value request(const CommandSpec& command, const std::string& document);
    Json::Value exchange(Link& link, const CommandSpec& command, const std::string& document);

private:
    struct Job {
        Work work;
        Settled settled;
        Clock::time_point startBy;
    };

    void loop();
    void dispatch(Link& link, const Message& message);
    void connect();
    void ask(const std::string& name);
    void pollNext();
    void runJob(Job& job);
    void lose(const Failure& failure);
    void setState(LinkState state, const std::string& reason);
    // Waits out the pause before the next connection attempt, failing the
    // requests that come meanwhile.
    void rest(Millis pause);
    std::shared_ptr<Job> takeJob(Millis wait);
    std::exception_ptr downError() const;
    std::exception_ptr stoppingError() const;
    bool stopping();

    const LinkOptions options_;
    const SessionPlan plan_;
    SessionListener& listener_;
    std::unique_ptr<Link> link_;
    LinkState state_ = LinkState::Connecting;
    std::string reason_;
    size_t nextPoll_ = 0;
    Clock::time_point pollDue_{};
    Millis reconnectPause_;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::shared_ptr<Job>> jobs_;
    bool stopping_ = false;
    std::thread thread_;
};

// The answer's one document below "Response" / "Get" (or "Set"):
// {"x": 1.2, ...}.
Json::Value answerBody(const Json::Value& document);

}  // namespace robocomm::tools
