// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderEvent.h"

#include <functional>
#include <string>

/// Event libraries for the tests. Each is a real libeventcbutil.so, put into the test's directory,
/// where the dynamic loader looks first.
namespace support {

/// Puts the event library of that kind where it will be found (replacing another that has not been
/// loaded yet): "recording", "without-init", "without-fini", "without-redeliver".
void installEventLibrary(const std::string& kind);

/// True while the dynamic loader has libeventcbutil.so in the process.
bool eventLibraryLoaded();

/// @name The recording library
/// It counts its calls and does what the test has set. Usable before it is loaded.
/// @{

/// The result of EventConsumerCBInit, 0 at first. It subscribes only if that is not negative.
void setInitResult(int result);
/// Whether EventConsumerCBInit throws std::runtime_error instead of answering.
void setInitThrows(bool throws);
/// Runs inside EventConsumerCBInit / EventConsumerCBFini before anything else.
void setInitHook(std::function<void()> hook);
void setFiniHook(std::function<void()> hook);
/// Runs inside EventConsumerCBInit after the subscription has been made.
void setSubscribedHook(std::function<void()> hook);
/// Runs inside EventConsumerCBRedeliver.
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
/// The user data of the last subscription, also after its end.
void* lastUserData();
/// The record of the last request for another delivery.
EventConsumerCallback lastRedelivery();

/// Delivers an event on the calling thread to the present subscription. Returns the callback's
/// result, or -2 if there is no subscription. EventConsumerCBFini waits for running deliveries and
/// lets no further one start.
int deliver(const std::string& eventName = "SysConfigEvent");
/// @}

} // namespace support
