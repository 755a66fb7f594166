#pragma once

#include <string>

namespace sysconfctl {

/// A subscription of the tool's own beside the library's, so that the tool knows when to ask again.
/// It says nothing about when the library has applied a change.
class Events {
public:
    /// Subscribes, after the library has done so. What stands in the way is kept, see `report`.
    Events();
    /// Ends it. An event library that knows of no single subscriptions ends the library's with it.
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    bool subscribed() const { return m_subscribed; }
    /// The event library's file, or why there is no subscription.
    const std::string& report() const { return m_report; }

    /// Readable when events have come since the last `clear`.
    int descriptor() const;
    void clear();

private:
    std::string subscribe();

    void* m_library = nullptr;
    bool m_subscribed = false;
    std::string m_report;
};

} // namespace sysconfctl
