#include "outbox.h"

#include <utility>

namespace demo {

namespace {

// The call, made while `lock` is held alone, or shared.
template <typename Hold>
Reply holding(std::shared_mutex& lock, Reply reply) {
    return [&lock, reply = std::move(reply)] {
        Hold held(lock);
        reply();
    };
}

Reply alone(std::shared_mutex& lock, Reply reply) { return holding<std::unique_lock<std::shared_mutex>>(lock, std::move(reply)); }
Reply beside(std::shared_mutex& lock, Reply reply) { return holding<std::shared_lock<std::shared_mutex>>(lock, std::move(reply)); }

}  // namespace

SendLane::SendLane() : thread_([this] { run(); }) {}

SendLane::~SendLane() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void SendLane::post(Reply reply) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.size() < kMostWaiting; });
    waiting_.push_back(std::move(reply));
    changed_.notify_all();
}

bool SendLane::idle() {
    std::lock_guard<std::mutex> lock(mutex_);
    return waiting_.empty() && !busy_;
}

// Each wait ends: a post or the destructor wakes it, and every call ends,
// bounded by the library's sends.
void SendLane::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
        if (stopping_) return;
        Reply reply = std::move(waiting_.front());
        waiting_.pop_front();
        busy_ = true;
        changed_.notify_all();  // room for a post that waits
        lock.unlock();
        reply();
        lock.lock();
        busy_ = false;
    }
}

void Outbox::answer(Reply reply) { answers_.post(beside(alone_, std::move(reply))); }

void Outbox::answerAlone(Reply reply) { answers_.post(alone(alone_, std::move(reply))); }

bool Outbox::push(Reply reply, bool severalFrames) {
    if (!pushes_.idle()) return false;
    pushes_.post(severalFrames ? alone(alone_, std::move(reply)) : beside(alone_, std::move(reply)));
    return true;
}

}  // namespace demo
