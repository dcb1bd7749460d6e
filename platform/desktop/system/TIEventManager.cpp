#include <TIEventManager.h>

#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "TvDesktop.h"

namespace tvdesktop {

namespace {

/// Who wants events. Never destroyed, so that late threads can still send.
class Subscribers {
  public:
    static Subscribers &Instance() {
        static Subscribers &subscribers = *new Subscribers;
        return subscribers;
    }

    int Add(EventSubscriber subscriber) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscribers[++m_lastNumber] = std::make_shared<EventSubscriber>(std::move(subscriber));
        return m_lastNumber;
    }

    void Remove(int number) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscribers.erase(number);
    }

    /// One that throws does not keep the event from the others.
    /// @return whether a subscriber took it
    bool Deliver(const Event &event) {
        bool taken = false;
        const int last = LastNumber();
        // Asked again for each one: an earlier one may have unsubscribed it.
        for (int number = 0; const auto subscriber = Next(number, last);)
            taken = Call(*subscriber, event) || taken;
        return taken;
    }

  private:
    static bool Call(const EventSubscriber &subscriber, const Event &event) {
        try {
            subscriber(event);
            return true;
        } catch (...) {
            return false;
        }
    }

    int LastNumber() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastNumber;
    }

    /// @param number  in: of the one before, 0 at the start; out: of the one returned
    /// @param last    number of the last one that is asked for
    /// @return null when there is none
    std::shared_ptr<EventSubscriber> Next(int &number, int last) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_subscribers.upper_bound(number);
        if (found == m_subscribers.end() || found->first > last)
            return nullptr;
        number = found->first;
        return found->second;
    }

    std::mutex m_mutex;
    std::map<int, std::shared_ptr<EventSubscriber>> m_subscribers;
    int m_lastNumber = 0;
};

/// @return 1 when a subscriber took the event, 0 when none did or it could not be delivered
int Post(int number, const MOXHandle *handle, const void *record) {
    if (record == nullptr)
        return 0;
    Event event;
    event.number = number;
    if (handle != nullptr)
        event.handle = *handle;
    std::memcpy(event.record.data(), record, event.record.size());
    try {
        return Subscribers::Instance().Deliver(event) ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

}  // namespace

int Subscribe(EventSubscriber subscriber) {
    return Subscribers::Instance().Add(std::move(subscriber));
}

void Unsubscribe(int subscription) {
    Subscribers::Instance().Remove(subscription);
}

}  // namespace tvdesktop

TIEventManager *TIEventManager::Instance() {
    static TIEventManager manager;
    return &manager;
}

int TIEventManager::Send(int event, void *data, int /*option*/) {
    return tvdesktop::Post(event, nullptr, data);
}

int TIEventManager::Send(int event, const MOXHandle *handle, void *data, int /*option*/) {
    return tvdesktop::Post(event, handle, data);
}
