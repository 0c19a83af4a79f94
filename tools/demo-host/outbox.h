// How the demo host's answers and error pushes reach the client without
// holding its 20 ms control loop. Every res... call holds its caller for the
// link's 100 ms pause after each frame it sends (a log bundle for minutes),
// so the control loop only hands the calls over: answers go out one at a
// time in the order given, on a thread of their own, and pushes on another.
// One thread for both would hold an answer (an emergency stop's above all)
// for up to 100 ms whenever it came during a push's pause, about one in ten
// at a push a second.
//
// Two messages of one frame each may then leave closer than the pause, but
// never mixed: each frame goes out in one send. A message of several frames
// goes out alone: a map's frames, above all the log bundle's, whose packets
// after the first carry no header, and a push of a very long error list.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <shared_mutex>
#include <thread>

namespace demo {

// One call of the library that sends (res..., EmergencyMSG_...), its values bound.
using Reply = std::function<void()>;

// A thread that makes the calls handed to it, one at a time, in order.
class SendLane {
public:
    SendLane();
    // Waits for the call under way; the calls still waiting are dropped, as
    // the link closes with the program.
    ~SendLane();
    SendLane(const SendLane&) = delete;
    SendLane& operator=(const SendLane&) = delete;

    // Waits while kMostWaiting calls wait already: a client that asks faster
    // than the link answers slows the control loop, as when the loop sent
    // itself, instead of filling the memory.
    void post(Reply reply);
    // Nothing waiting and nothing under way.
    bool idle();

    static constexpr size_t kMostWaiting = 64;

private:
    void run();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Reply> waiting_;
    bool busy_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

class Outbox {
public:
    // Sent after the answers handed over before it.
    void answer(Reply reply);
    // An answer that may take several frames (a map, the log bundle): as
    // answer, and no push is sent while it goes out.
    void answerAlone(Reply reply);
    // Sent beside the answers, or alone when it may take several frames.
    // False, and nothing sent, while the last push is still under way:
    // pushes repeat, so none need wait in line.
    bool push(Reply reply, bool severalFrames);

private:
    // Shared by the calls of one frame, held alone by those of several.
    // Declared before the lanes, whose calls take it until the lanes end.
    std::shared_mutex alone_;
    SendLane answers_;
    SendLane pushes_;
};

}  // namespace demo
