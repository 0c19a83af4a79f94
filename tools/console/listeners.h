// One session, several listeners: the page's events and the console's own
// record of the robot each hear every answer, in the order given.
#pragma once

#include <initializer_list>
#include <vector>

#include "common/session.h"

namespace robocomm::console {

class SessionListeners : public tools::SessionListener {
public:
    // Every listener must outlive this one.
    SessionListeners(std::initializer_list<tools::SessionListener*> listeners) : listeners_(listeners) {}

    void linkChanged(tools::LinkState state, const std::string& reason) override {
        for (SessionListener* listener : listeners_) listener->linkChanged(state, reason);
    }
    void answered(const std::string& name, const Json::Value& body) override {
        for (SessionListener* listener : listeners_) listener->answered(name, body);
    }
    void pushed(const tools::Message& message, const Json::Value& document) override {
        for (SessionListener* listener : listeners_) listener->pushed(message, document);
    }

private:
    const std::vector<tools::SessionListener*> listeners_;
};

}  // namespace robocomm::console
