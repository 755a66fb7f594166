#pragma once

#include <functional>
#include <string>

/// Event libraries for the tests. Each is a real libeventcbutil.so, put into the test's directory,
/// where the dynamic loader looks first.
namespace support {

/// Puts the event library of that kind where it will be found (replacing another that has not been
/// loaded yet): "recording", "without-init", "without-fini".
void installEventLibrary(const std::string& kind);

/// True while the dynamic loader has libeventcbutil.so in the process.
bool eventLibraryLoaded();

/// @name The recording library
/// It counts its calls and does as it is told. Usable before it is loaded.
/// @{

/// What EventConsumerCBInit answers, 0 at first. It subscribes only when that is not negative.
void setInitResult(int result);
/// Whether EventConsumerCBInit throws std::runtime_error instead of answering.
void setInitThrows(bool throws);
/// Runs inside EventConsumerCBInit / EventConsumerCBFini before anything else.
void setInitHook(std::function<void()> hook);
void setFiniHook(std::function<void()> hook);
/// Runs inside EventConsumerCBInit once the subscription stands.
void setSubscribedHook(std::function<void()> hook);

struct EventLibraryCalls {
    int inits = 0;
    int subscriptions = 0; // how many of the inits have subscribed
    int finis = 0;
    std::string lastEventName;
    std::string lastSecond = "unset";
};
EventLibraryCalls eventLibraryCalls();
bool subscribed();
/// The user data of the last subscription, whether it still stands or not.
void* lastUserData();

/// Delivers an event on the calling thread to the subscription there is; answers what the callback
/// answered, or -2 when there is no subscription. EventConsumerCBFini waits for deliveries that are
/// running and lets no further one start.
int deliver(const std::string& eventName = "SysConfigEvent");
/// @}

} // namespace support
