// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderEvent.h"

#include <functional>
#include <string>

/// Shared libraries libeventcbutil.so, copied to where the dynamic loader searches first.
namespace support {

/// @param kind "recording", "without-init", "without-fini" or "without-redeliver".
void installEventLibrary(const std::string& kind);

bool eventLibraryLoaded();

/// @name The recording library
/// It records its calls and behaves as set here, also before it is loaded.
/// @{

/// The result of EventConsumerCBInit, 0 by default. It subscribes only if that is not negative.
void setInitResult(int result);
void setInitThrows(bool throws);
/// The hook runs before anything else.
void setInitHook(std::function<void()> hook);
void setFiniHook(std::function<void()> hook);
/// The hook runs after the subscription has been made.
void setSubscribedHook(std::function<void()> hook);
void setRedeliverHook(std::function<void()> hook);

struct EventLibraryCalls {
    int inits = 0;
    int subscriptions = 0; // how many of the inits have subscribed
    int finis = 0;
    int redeliveries = 0; // how often another delivery was requested
    std::string lastEventName;
    std::string lastSecond = "unset";
};
EventLibraryCalls eventLibraryCalls();
bool subscribed();
/// Of the last subscription, also after its end.
void* lastUserData();
EventConsumerCallback lastRedelivery();

/// Calls back on this thread. Returns the callback's result, or -2 without a subscription.
/// EventConsumerCBFini waits for running deliveries.
int deliver(const std::string& eventName = "SysConfigEvent");
/// @}

} // namespace support
