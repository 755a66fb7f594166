// SPDX-License-Identifier: Apache-2.0
// The event libraries of the tests. Each kind lacks another entry point or none.

#include "support/EventBroker.h"

#include <stdexcept>

#ifndef WITHOUT_INIT
extern "C" [[gnu::visibility("default")]] int
EventConsumerCBInit(const std::string& eventName, const std::string& second,
                    const EventConsumerCallback* callback) {
    support::EventBroker& broker = *sysconfTestEventBroker();
    std::unique_lock<std::mutex> guard(broker.mutex);
    ++broker.inits;
    broker.lastEventName = eventName;
    broker.lastSecond = second;
    if (const auto hook = broker.initHook) {
        guard.unlock();
        hook();
        guard.lock();
    }
    if (broker.initThrows) {
        throw std::runtime_error("no event service");
    }
    if (broker.initResult >= 0) {
        broker.subscription = *callback;
        broker.subscribed = true;
        ++broker.subscriptions;
        if (const auto hook = broker.subscribedHook) {
            guard.unlock();
            hook();
            guard.lock();
        }
    }
    return broker.initResult;
}
#endif

#ifndef WITHOUT_REDELIVER
extern "C" [[gnu::visibility("default")]] void
EventConsumerCBRedeliver(const EventConsumerCallback* callback) {
    support::EventBroker& broker = *sysconfTestEventBroker();
    std::unique_lock<std::mutex> guard(broker.mutex);
    ++broker.redeliveries;
    broker.lastRedelivery = *callback;
    if (const auto hook = broker.redeliverHook) {
        guard.unlock();
        hook();
    }
}
#endif

#ifndef WITHOUT_FINI
extern "C" [[gnu::visibility("default")]] void EventConsumerCBFini() {
    support::EventBroker& broker = *sysconfTestEventBroker();
    std::unique_lock<std::mutex> guard(broker.mutex);
    ++broker.finis;
    if (const auto hook = broker.finiHook) {
        guard.unlock();
        hook();
        guard.lock();
    }
    broker.subscribed = false;
    broker.idle.wait(guard, [&] { return broker.delivering == 0; });
}
#endif
