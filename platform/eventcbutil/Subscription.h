// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Backoff.h"
#include "ContentReader.h"
#include "Debouncer.h"
#include "FileContents.h"
#include "FileWatch.h"
#include "Settings.h"
#include "SysConfReaderEvent.h"

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// A callback, its files, and the pending delivery. Used on the service's thread only, except for
/// its creation, `redeliver` and `sameCallback`.
class Subscription {
public:
    using Time = Debouncer::Time;

    /// @throws std::system_error if the files cannot be watched.
    Subscription(std::string eventName, const EventConsumerCallback& callback,
                 const Settings& settings);

    bool sameCallback(const EventConsumerCallback& callback) const;
    const EventConsumerCallback& callback() const { return m_callback; }

    /// Takes effect at the next `gather`.
    void redeliver() { m_redeliver = true; }

    std::array<pollfd, 2> waits() const { return m_watch.waits(); }
    void woken(const pollfd* results) { m_watch.woken(results); }

    void gather(Time now);

    /// When to call `gather` and `ready` again even if no descriptor is readable.
    std::optional<Time> due() const;

    /// Reads the files and returns whether a delivery is due; `call` must follow.
    bool ready(Time now);

    /// Catches what the callback throws. `settle` must follow.
    void call();

    /// @param now A time after the callback.
    void settle(Time now);

private:
    EventConsumerCallback m_callback;
    std::string m_eventName;
    std::vector<std::string> m_files;
    FileWatch m_watch;
    /// While the watch is incomplete.
    Time m_nextTry;
    Debouncer m_debouncer;
    Backoff m_backoff;
    std::atomic<bool> m_redeliver{false};
    ContentReader m_reader;
    /// The contents at the last call, if it is certain that the callback has read exactly these.
    std::optional<FileContents> m_announced;
    std::optional<FileContents> m_found;
    bool m_handled = false;
};

} // namespace eventcbutil
