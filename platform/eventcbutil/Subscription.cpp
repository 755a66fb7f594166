// SPDX-License-Identifier: Apache-2.0
#include "Subscription.h"

#include <algorithm>
#include <utility>

namespace eventcbutil {
namespace {

using Change = FileWatch::Change;
using OptionalTime = std::optional<Subscription::Time>;

/// While the watch is incomplete.
constexpr std::chrono::milliseconds kRetry{1000};

bool reached(const OptionalTime& due, Subscription::Time now) {
    return due && *due <= now;
}

OptionalTime earlier(const OptionalTime& one, const OptionalTime& other) {
    return one && other ? std::min(*one, *other) : (one ? one : other);
}

} // namespace

Subscription::Subscription(std::string eventName, const EventConsumerCallback& callback,
                           const Settings& settings)
    : m_callback(callback), m_eventName(std::move(eventName)), m_files(settings.files),
      m_watch(settings.files), m_debouncer(settings.quietTime, kLongestWait),
      m_reader(settings.longestRead) {}

bool Subscription::sameCallback(const EventConsumerCallback& callback) const {
    return m_callback.callback == callback.callback && m_callback.userData == callback.userData;
}

void Subscription::gather(Time now) {
    Change change = m_watch.changed();
    if (!m_watch.complete() && now >= m_nextTry) {
        m_watch.followAgain();
        m_nextTry = now + kRetry;
        change = std::max(change, Change::Possible);
    }
    if (change == Change::Noticed && m_backoff.due()) {
        // The delivery of the new change replaces the failed one.
        m_backoff.reset();
        m_announced.reset();
    }
    if (change != Change::None) {
        m_debouncer.change(now);
    }
    if (m_redeliver.exchange(false) && !m_backoff.due()) {
        m_backoff.failed(now);
    }
}

std::optional<Subscription::Time> Subscription::due() const {
    const OptionalTime delivery = earlier(m_debouncer.due(), m_backoff.due());
    return m_watch.complete() ? delivery : earlier(delivery, m_nextTry);
}

bool Subscription::ready(Time now) {
    const bool repeat = reached(m_backoff.due(), now);
    const bool change = reached(m_debouncer.due(), now);
    if (!repeat && !change) {
        return false;
    }
    m_found = m_reader.read(m_files);
    m_debouncer.clear();
    const bool same = m_announced && m_found && m_announced->equals(*m_found);
    if (change && !same) {
        m_backoff.reset();
    }
    return repeat || !same;
}

void Subscription::call() {
    m_announced.reset();
    m_backoff.repeating();
    m_handled = false;
    try {
        m_handled = m_callback.callback(m_eventName, {}, {}, m_callback.userData) == 0;
    } catch (...) {
        m_handled = false;
    }
}

void Subscription::settle(Time now) {
    // The callback may ask for a redelivery itself.
    const bool failed = m_redeliver.exchange(false) || !m_handled;
    if (failed) {
        m_backoff.failed(now);
    } else {
        m_backoff.reset();
    }
    // A callback that a change overlaps may have read either content: announce again.
    gather(now);
    if (!m_debouncer.due()) {
        m_announced = std::move(m_found);
    }
}

} // namespace eventcbutil
