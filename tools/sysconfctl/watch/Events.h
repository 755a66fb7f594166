// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

/// The tool's own subscription. The library may apply an event later than it arrives here.
class Events {
public:
    /// The library must have subscribed before. If that fails, `report` returns the reason.
    Events();
    /// This also ends the library's subscription if the event library has only one for the process.
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    bool subscribed() const { return m_subscribed; }
    /// The file of the event library, or the reason why there is no subscription.
    const std::string& report() const { return m_report; }

    int descriptor() const;
    void clear();

private:
    std::string subscribe();

    void* m_library = nullptr;
    bool m_subscribed = false;
    std::string m_report;
};

} // namespace sysconfctl
