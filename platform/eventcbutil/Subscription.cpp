#include "Subscription.h"

#include <utility>

namespace eventcbutil {
namespace {

/// How soon a watch that the kernel has refused is tried again, and how often the files are looked
/// at meanwhile.
constexpr std::chrono::milliseconds kRetry{1000};

} // namespace

Subscription::Subscription(std::string eventName, const EventConsumerCallback& callback,
                           const Settings& settings)
    : m_callback(callback), m_eventName(std::move(eventName)), m_files(settings.files),
      m_watch(settings.files), m_debouncer(settings.quietTime, kLongestWait) {}

bool Subscription::sameCallback(const Subscription& other) const {
    return m_callback.callback == other.m_callback.callback &&
           m_callback.userData == other.m_callback.userData;
}

void Subscription::gather(Time now) {
    bool changed = m_watch.changed();
    if (!m_watch.complete() && now >= m_nextTry) {
        m_watch.followAgain();
        m_nextTry = now + kRetry;
        changed = true; // or may have
    }
    if (changed) {
        m_debouncer.change(now);
    }
}

std::optional<Subscription::Time> Subscription::due() const {
    const std::optional<Time> announcement = m_debouncer.due();
    return m_watch.complete() ? announcement
                              : std::min(announcement.value_or(m_nextTry), m_nextTry);
}

bool Subscription::ready(Time now) {
    const std::optional<Time> announcement = m_debouncer.due();
    if (!announcement || *announcement > now) {
        return false;
    }
    m_found.emplace(m_files);
    m_debouncer.clear();
    return !m_announced || !m_announced->equals(*m_found);
}

void Subscription::call() {
    m_announced.reset();
    m_handled = false;
    try {
        m_handled = m_callback.callback(m_eventName, {}, {}, m_callback.userData) == 0;
    } catch (...) {
        m_handled = false;
    }
}

void Subscription::settle(Time now) {
    // A callback that reads the files may see them as they were found, or as they became a moment
    // later. If anything happened in between, or if the callback did not do its work, nothing is
    // known, and the next announcement must not be saved however the files read then.
    gather(now);
    if (m_handled && !m_debouncer.due()) {
        m_announced = std::move(m_found);
    }
}

} // namespace eventcbutil
