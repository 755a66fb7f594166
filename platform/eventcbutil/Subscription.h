#pragma once

#include "Debouncer.h"
#include "FileContents.h"
#include "FileWatch.h"
#include "Settings.h"
#include "SysConfReaderEvent.h"

#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// Whom to tell about changes of which files, and what there is to tell. Made on the subscriber's
/// thread, which is when the watch begins; used by the service's thread alone from then on.
class Subscription {
public:
    using Time = Debouncer::Time;

    /// @throws std::system_error when the files cannot be watched.
    Subscription(std::string eventName, const EventConsumerCallback& callback,
                 const Settings& settings);

    /// The same function with the same user data.
    bool sameCallback(const Subscription& other) const;

    /// Readable when `gather` has something to do.
    int descriptor() const { return m_watch.descriptor(); }
    void close() { m_watch.close(); }

    /// Takes note of the changes that there have been.
    void gather(Time now);

    /// When to look again, whether or not the descriptor is readable by then.
    std::optional<Time> due() const;

    /// Ends the gathering if its time has come. True when there is something new to tell: `call`
    /// is to follow.
    bool ready(Time now);

    /// Calls back. What the callback throws ends here. `settle` is to follow.
    void call();

    /// Takes note of what the files contained when they were announced.
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
    /// What the files contained when they were last announced, if it is certain that the callback
    /// saw just that.
    std::optional<FileContents> m_announced;
    std::optional<FileContents> m_found;
    bool m_handled = false;
};

} // namespace eventcbutil
