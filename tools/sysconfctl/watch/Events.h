// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

/// The tool's subscription to change events, in addition to the library's, so that the tool knows
/// when to ask again. An event does not mean that the library has applied the change already.
class Events {
public:
    /// Subscribes. The library must have subscribed before. `report` has the reason of a failure.
    Events();
    /// Unsubscribes. The library's subscription ends, too, if the event library has one for all.
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    bool subscribed() const { return m_subscribed; }
    /// The file of the event library, or the reason why there is no subscription.
    const std::string& report() const { return m_report; }

    /// Readable if events have arrived since the last `clear`.
    int descriptor() const;
    void clear();

private:
    std::string subscribe();

    void* m_library = nullptr;
    bool m_subscribed = false;
    std::string m_report;
};

} // namespace sysconfctl
