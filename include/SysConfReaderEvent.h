// SPDX-License-Identifier: Apache-2.0
#ifndef SYSCONFREADEREVENT_H
#define SYSCONFREADEREVENT_H

#include <string>

/// @file
/// Change events: the types that this library and an event library share, and the callback.
///
/// The library opens "libeventcbutil.so" by that name, through the dynamic loader's ordinary
/// search, and subscribes there to "SysConfigEvent". The event library exports these functions,
/// unmangled; the third is optional:
///
///     int EventConsumerCBInit(const std::string& eventName, const std::string& second,
///                             const EventConsumerCallback* callback);
///     void EventConsumerCBFini();
///     void EventConsumerCBRedeliver(const EventConsumerCallback* callback);
///
/// EventConsumerCBInit subscribes: from now on the event library calls `callback->callback` on a
/// thread of its choice for every event. The record exists only during the call, so copy both
/// fields. `second` is always empty. A negative result means that there is no subscription.
///
/// EventConsumerCBFini ends the subscription; no delivery may begin after it has returned. It is
/// called under the role reader's write lock, but never while a callback of this library is
/// working, so it may wait for running callbacks.
///
/// These two must not call this library, nor wait for a callback that they have started. They may
/// deliver an event on the calling thread.
///
/// EventConsumerCBRedeliver schedules an event for the subscription with this function and user
/// data, as if its last delivery had been answered with -1. The library calls it after a first load
/// or a Reload() that met a shortage. The record exists only during the call. The function must
/// return soon, must not throw, must work on any thread and under any lock of the caller, and must
/// not deliver the event itself.
///
/// `NO_EM_CLIENT` or `NO_EM_CLIENT_CONSUMER`, set to any non-empty text, disables change events.
/// Otherwise the library may call getenv() on the event library's thread at any time, see
/// SysConfReader.
///
/// A forked child has no subscription. It calls EventConsumerCBFini when it destroys an inherited
/// role reader, and EventConsumerCBInit at its next first load. docs/events.md has the reasons.

/// The type of the callback: the event's name, two further texts, the user data of the
/// subscription. Returns 0 if handled, or -1 if refused or not completed; the event library should
/// then deliver the event again after a pause.
using EventProcessCallback = int(const std::string& eventName, const std::string& second,
                                 const std::string& third, void* userData);

/// One subscription: what to call, and with which user data.
struct EventConsumerCallback {
    /// Called for each event.
    EventProcessCallback* callback;
    /// Passed on verbatim: the role reader that subscribes.
    void* userData;
};

/// The type of the entry point that subscribes.
using EventConsumerCBInitFunction = int(const std::string& eventName, const std::string& second,
                                        const EventConsumerCallback* callback);
/// The type of the entry point that ends the subscription.
using EventConsumerCBFiniFunction = void();
/// The type of the optional entry point that requests another delivery.
using EventConsumerCBRedeliverFunction = void(const EventConsumerCallback* callback);

/// Applies a change of the configuration files: reloads SysConfReader (creating it if there is
/// none), then SysConfReaderImpl. This is the callback that the library subscribes with.
///
/// @param eventName "SysConfigEvent", compared byte by byte; anything else is refused.
/// @param second,third Ignored.
/// @param userData The role reader that subscribed. Null is refused. One that is being or has been
///        destroyed, or was never published, is not accessed: the event is dropped and the result
///        is 0. The next role reader loads the changed files; an existing SysConfReader may keep
///        its values until the next event or Reload().
/// @return 0 if handled. -1 if refused, if the reload met a shortage, or if it ended with an
///         exception (which does not reach the caller).
///
/// Any thread may call it. It takes first SysConfReader's write lock, and after its release
/// SysConfReaderImpl's. An event during a first load on another thread waits for that load and is
/// applied if it succeeds. One that is delivered inside EventConsumerCBInit returns 0 at once: the
/// load that follows reads the files, and an existing SysConfReader is reloaded after it.
[[gnu::visibility("default")]] int SysConfReaderEventProcessCB(const std::string& eventName,
                                                               const std::string& second,
                                                               const std::string& third,
                                                               void* userData);

#endif // SYSCONFREADEREVENT_H
