#include "console/session.h"

#include <algorithm>

#include "common/exchange.h"
#include "common/failure.h"
#include "common/vocabulary.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// The state the page shows, polled in turn; the position comes every other
// poll so that the marker moves smoothly.
const char* const kPolls[] = {"position", "battery-status-v2", "position", "robot-status",
                              "position", "target-position",   "position", "docking-status"};
// Asked once per connection.
const char* const kIdentity[] = {"software-version", "robot-info"};
// Between the answer to one poll and the next: about five answers a second
// are plenty for the page, and the robot's control loop has other work.
constexpr Millis kPollGap{100};
// How long the thread listens for pushes before it looks for work again.
constexpr Millis kListenSlice{50};
constexpr Millis kReconnectPause{1000};

const char* stateName(Session::LinkState state) {
    switch (state) {
        case Session::LinkState::Connecting: return "connecting";
        case Session::LinkState::Up: return "up";
        case Session::LinkState::Down: return "down";
        case Session::LinkState::Held: return "held";
    }
    return "";
}

}  // namespace

Json::Value answerBody(const Json::Value& document) {
    for (const char* verb : {"Get", "Set"}) {
        const Json::Value& answers = memberAt(document, {"Response", verb});
        if (answers.isObject() && !answers.empty()) return answers[answers.getMemberNames().front()];
    }
    return Json::Value();
}

Session::Session(const LinkOptions& options, EventHub& events) : options_(options), events_(events) {
    thread_ = std::thread([this] { loop(); });
}

Session::~Session() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

bool Session::stopping() {
    std::lock_guard<std::mutex> lock(mutex_);
    return stopping_;
}

void Session::run(const Work& work) {
    auto job = std::make_shared<Job>();
    job->work = work;
    // A request that waits longer than one robot timeout for its turn is
    // given up: the browser hears so instead of waiting on.
    job->startBy = Clock::now() + options_.timeout;
    std::future<void> done = job->done.get_future();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) throw Failure(Exit::Unreachable, "the console is stopping");
        jobs_.push_back(job);
    }
    wake_.notify_all();
    // The link thread settles every job: it starts none after its startBy,
    // each wait inside a job is bounded by the robot timeout, and it fails
    // what is left when it stops. So this wait ends, and `work` (which may
    // refer to the caller's locals) never runs after the caller returned.
    done.get();
}

Json::Value Session::exchange(Link& link, const CommandSpec& command, const std::string& document) {
    const MessageSink passedBy = [this, &link](const Message& message) { dispatch(link, message); };
    link.sendCommand(command.code, document);
    if (!expectsAnswer(command)) {
        confirmDelivery(link, command, passedBy);
        Json::Value outcome;
        outcome["outcome"] = "delivered";
        return outcome;
    }
    return link.document(link.awaitCode(answerCode(command), passedBy));
}

Json::Value Session::request(const CommandSpec& command, const std::string& document) {
    Json::Value answer;
    run([&](Link& link) { answer = exchange(link, command, document); });
    // The acknowledged errors are no longer news for a page that loads now.
    if (command.code == kErrorCode) events_.publish("error-list", Json::Value(), true);
    return answer;
}

void Session::dispatch(Link& link, const Message& message) {
    if (message.kind != kKindPush) return;
    const Json::Value document = link.document(message);
    Json::Value push;
    push["code"] = message.code;
    const CommandSpec* command = findCommand(message.code);
    push["name"] = command ? kebabName(*command) : "";
    push["document"] = document;
    events_.publish("push", push, false);
    if (message.code == kErrorCode) events_.publish("error-list", memberAt(document, {"Emergency", "Send", "ErrorList"}), true);
}

void Session::loop() {
    while (!stopping()) {
        if (!link_) {
            connect();
            continue;
        }
        try {
            if (auto job = takeJob(Millis(0))) {
                runJob(*job);
            } else if (Clock::now() >= pollDue_) {
                pollNext();
            } else {
                const auto until = std::min(pollDue_, Clock::now() + kListenSlice);
                if (auto message = link_->receive(Deadline::after(std::chrono::ceil<Millis>(until - Clock::now()))))
                    dispatch(*link_, *message);
            }
        } catch (const Failure& failure) {
            lose(failure);
        }
    }
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& job : jobs_) job->done.set_exception(std::make_exception_ptr(Failure(Exit::Unreachable, "the console is stopping")));
    jobs_.clear();
}

void Session::connect() {
    setState(LinkState::Connecting, "");
    try {
        link_ = std::make_unique<Link>(options_);
        identify();
        setState(LinkState::Up, "");
        pollDue_ = Clock::now();
    } catch (const Failure& failure) {
        lose(failure);
        rest(kReconnectPause);
    }
}

void Session::identify() {
    for (const char* name : kIdentity) {
        const CommandSpec& command = commandFor(CommandKind::Get, name);
        events_.publish(name, answerBody(exchange(*link_, command, requestDocument(command, {}))), true);
    }
}

void Session::pollNext() {
    const char* name = kPolls[nextPoll_++ % std::size(kPolls)];
    const CommandSpec& command = commandFor(CommandKind::Get, name);
    events_.publish(name, answerBody(exchange(*link_, command, requestDocument(command, {}))), true);
    pollDue_ = Clock::now() + kPollGap;
}

void Session::runJob(Job& job) {
    if (Clock::now() > job.startBy) {
        job.done.set_exception(std::make_exception_ptr(
            Failure(Exit::Timeout, "the console's link to the robot stayed busy with earlier requests")));
        return;
    }
    try {
        job.work(*link_);
        job.done.set_value();
    } catch (const Failure& failure) {
        const bool linkFault = failure.status() == Exit::Unreachable || failure.status() == Exit::Timeout;
        if (linkFault) lose(failure);
        job.done.set_exception(state_ == LinkState::Held ? downError() : std::current_exception());
    } catch (...) {
        job.done.set_exception(std::current_exception());
    }
}

// A robot that times out may still answer later; a fresh connection keeps
// that late answer from being taken for the answer to the next request.
void Session::lose(const Failure& failure) {
    const bool held = failure.status() == Exit::Timeout && link_ && !link_->heard();
    link_.reset();
    setState(held ? LinkState::Held : LinkState::Down, failure.what());
}

void Session::setState(LinkState state, const std::string& reason) {
    state_ = state;
    reason_ = reason;
    Json::Value link;
    link["state"] = stateName(state);
    link["reason"] = reason;
    link["robot"] = options_.host + ":" + std::to_string(options_.port);
    events_.publish("link", link, true);
}

std::exception_ptr Session::downError() const {
    if (state_ == LinkState::Held)
        return std::make_exception_ptr(RobotHeld("another client holds the robot: " + reason_));
    return std::make_exception_ptr(Failure(Exit::Unreachable, "the robot is unreachable: " + reason_));
}

void Session::rest(Millis pause) {
    const auto end = Clock::now() + pause;
    while (Clock::now() < end && !stopping())
        if (auto job = takeJob(std::chrono::ceil<Millis>(end - Clock::now()))) job->done.set_exception(downError());
}

std::shared_ptr<Session::Job> Session::takeJob(Millis wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait_for(lock, wait, [this] { return stopping_ || !jobs_.empty(); });
    if (jobs_.empty()) return nullptr;
    auto job = jobs_.front();
    jobs_.pop_front();
    return job;
}

}  // namespace robocomm::console
