// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderEvent.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace support {

/// The state of the recording event library. It is part of the test executable, so that tests can
/// set it before the library is loaded and read it afterwards.
struct EventBroker {
    std::mutex mutex;
    std::condition_variable idle;
    int initResult = 0;
    bool initThrows = false;
    std::function<void()> initHook;
    std::function<void()> subscribedHook;
    std::function<void()> finiHook;
    int inits = 0;
    int subscriptions = 0;
    int finis = 0;
    int redeliveries = 0;
    EventConsumerCallback lastRedelivery{};
    std::function<void()> redeliverHook;
    std::string lastEventName;
    std::string lastSecond = "unset";
    bool subscribed = false;
    EventConsumerCallback subscription{};
    int delivering = 0;
};

} // namespace support

/// Called by the recording library; the test executable exports it.
extern "C" [[gnu::visibility("default")]] support::EventBroker* sysconfTestEventBroker();
