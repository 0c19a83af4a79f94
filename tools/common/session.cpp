#include "common/session.h"

#include <algorithm>
#include <future>

#include "common/exchange.h"
#include "common/failure.h"
#include "common/json_text.h"
#include "common/vocabulary.h"

namespace robocomm::tools {

namespace {

// How long the thread listens for pushes before it looks for work again.
constexpr Millis kListenSlice{50};

}  // namespace

const char* linkStateName(LinkState state) {
    switch (state) {
        case LinkState::Connecting: return "connecting";
        case LinkState::Up: return "up";
        case LinkState::Down: return "down";
        case LinkState::Held: return "held";
    }
    return "";
}

Json::Value answerBody(const Json::Value& document) {
    for (const char* verb : {"Get", "Set"}) {
        const Json::Value& answers = memberAt(document, {"Response", verb});
        if (answers.isObject() && !answers.empty()) return answers[answers.getMemberNames().front()];
    }
    return Json::Value();
}

Session::Session(const LinkOptions& options, SessionPlan plan, SessionListener& listener)
    : options_(options), plan_(std::move(plan)), listener_(listener), reconnectPause_(plan_.reconnectPause) {
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

std::exception_ptr Session::stoppingError() const {
    return std::make_exception_ptr(Failure(Exit::Unreachable, plan_.tool + " is stopping"));
}

void Session::post(Work work, Settled settled) {
    auto job = std::make_shared<Job>();
    job->work = std::move(work);
    job->settled = std::move(settled);
    // A request that waits longer than one robot timeout for its turn is
    // given up: its owner hears so instead of waiting on.
    job->startBy = Clock::now() + options_.timeout;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!stopping_) {
            jobs_.push_back(job);
            job.reset();
        }
    }
    if (job) return job->settled(stoppingError());
    wake_.notify_all();
}

void Session::run(const Work& work) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> settled = done->get_future();
    post(work, [done](std::exception_ptr failure) {
        if (failure) done->set_exception(failure);
        else done->set_value();
    });
    // The link thread settles every job: it starts none after its startBy,
    // each wait inside a job is bounded by the robot timeout, and it fails
    // what is left when it stops. So this wait ends, and `work` (which may
    // refer to the caller's locals) never runs after the caller returned.
    settled.get();
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
    return answer;
}

void Session::dispatch(Link& link, const Message& message) {
    if (message.kind == kKindPush) listener_.pushed(message, link.document(message));
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
    std::deque<std::shared_ptr<Job>> left;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        left.swap(jobs_);
    }
    for (auto& job : left) job->settled(stoppingError());
}

void Session::connect() {
    setState(LinkState::Connecting, "");
    try {
        link_ = std::make_unique<Link>(options_);
        for (const std::string& name : plan_.identity) ask(name);
        setState(LinkState::Up, "");
        reconnectPause_ = plan_.reconnectPause;
        pollDue_ = Clock::now();
    } catch (const Failure& failure) {
        lose(failure);
        rest(reconnectPause_);
        reconnectPause_ = std::min(reconnectPause_ * 2, std::max(plan_.reconnectPause, plan_.reconnectPauseLimit));
    }
}

void Session::ask(const std::string& name) {
    const CommandSpec& command = commandFor(CommandKind::Get, name);
    listener_.answered(name, answerBody(exchange(*link_, command, requestDocument(command, {}))));
}

void Session::pollNext() {
    if (plan_.polls.empty()) {
        pollDue_ = Clock::now() + plan_.pollGap;
        return;
    }
    ask(plan_.polls[nextPoll_++ % plan_.polls.size()]);
    pollDue_ = Clock::now() + plan_.pollGap;
}

void Session::runJob(Job& job) {
    if (Clock::now() > job.startBy) {
        return job.settled(std::make_exception_ptr(
            Failure(Exit::Timeout, plan_.tool + "'s link to the robot stayed busy with earlier requests")));
    }
    std::exception_ptr failure;
    try {
        job.work(*link_);
    } catch (const Failure& linkFailure) {
        const bool linkFault = linkFailure.status() == Exit::Unreachable || linkFailure.status() == Exit::Timeout;
        if (linkFault) lose(linkFailure);
        failure = state_ == LinkState::Held ? downError() : std::current_exception();
    } catch (...) {
        failure = std::current_exception();
    }
    job.settled(failure);
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
    listener_.linkChanged(state, reason);
}

std::exception_ptr Session::downError() const {
    if (state_ == LinkState::Held)
        return std::make_exception_ptr(RobotHeld("another client holds the robot: " + reason_));
    return std::make_exception_ptr(Failure(Exit::Unreachable, "the robot is unreachable: " + reason_));
}

void Session::rest(Millis pause) {
    const auto end = Clock::now() + pause;
    while (Clock::now() < end && !stopping())
        if (auto job = takeJob(std::chrono::ceil<Millis>(end - Clock::now()))) job->settled(downError());
}

std::shared_ptr<Session::Job> Session::takeJob(Millis wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait_for(lock, wait, [this] { return stopping_ || !jobs_.empty(); });
    if (jobs_.empty()) return nullptr;
    auto job = jobs_.front();
    jobs_.pop_front();
    return job;
}

}  // namespace robocomm::tools
