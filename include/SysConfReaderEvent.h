#ifndef SYSCONFREADEREVENT_H
#define SYSCONFREADEREVENT_H

#include <string>

/// @file
/// Change events: the types that this library and an event library share, and the callback.
///
/// The library opens "libeventcbutil.so" by that name, through the dynamic loader's ordinary
/// search, and asks it for "SysConfigEvent". The event library exports two functions, unmangled:
///
///     int EventConsumerCBInit(const std::string& eventName, const std::string& second,
///                             const EventConsumerCallback* callback);
///     void EventConsumerCBFini();
///
/// EventConsumerCBInit subscribes: from now on the event library calls `callback->callback` on a
/// thread of its own choosing whenever the event is delivered. The record lives only during the
/// call, so both of its fields must be copied. `second` is always empty. A negative result means
/// that there is no subscription. EventConsumerCBFini ends the subscription; no callback may start
/// after it has returned. It is called under the role reader's write lock, but never while a
/// callback of ours is doing work, so an event library may wait in it for running callbacks.
/// Neither entry point may call this library, nor wait for a callback that it has started itself:
/// both are called in the middle of a load or of a destruction. The callback's code stays in the
/// process until its end, whoever closes this library.
///
/// A forked child has no subscription. It calls EventConsumerCBFini when it destroys a role reader
/// that it has got from its parent, and EventConsumerCBInit at its next first load. An event
/// library that cannot be called in a child is to be switched off there by the environment.

/// What an event library calls: the event's name, two further texts, the user data of the
/// subscription. Answers 0 for handled and -1 for refused.
using EventProcessCallback = int(const std::string& eventName, const std::string& second,
                                 const std::string& third, void* userData);

/// One subscription: whom to call, and with which user data.
struct EventConsumerCallback {
    /// What is called for each event.
    EventProcessCallback* callback;
    /// Handed to it as it stands: the role reader that subscribes.
    void* userData;
};

/// The type of the entry point that subscribes.
using EventConsumerCBInitFunction = int(const std::string& eventName, const std::string& second,
                                        const EventConsumerCallback* callback);
/// The type of the entry point that ends the subscription.
using EventConsumerCBFiniFunction = void();
/// The type of the optional entry point that requests another delivery.
using EventConsumerCBRedeliverFunction = void(const EventConsumerCallback* callback);

/// Applies a change of the configuration files: reloads SysConfReader (creating it if need be),
/// then SysConfReaderImpl. This is the callback that the library subscribes with.
///
/// @param eventName "SysConfigEvent", compared byte for byte; anything else is refused.
/// @param second,third Not looked at.
/// @param userData The role reader that made the subscription. Null is refused. One that has been
///        destroyed since, or is being destroyed right now, is never touched: the event is then
///        dropped with answer 0, as one that comes after the end of the subscription. The next
///        role reader loads the changed files; a SysConfReader that lives on keeps its last load
///        until the next event or Reload().
/// @return 0 when handled; -1 when refused, or when the reload ended with an exception (which is
///         kept from the event library's thread).
///
/// Any thread may call it. It holds no lock of its own while it reloads; the reloads take first
/// SysConfReader's write lock, then, that one released, SysConfReaderImpl's. An event that
/// arrives during a first load waits for that load and is then applied.
[[gnu::visibility("default")]] int SysConfReaderEventProcessCB(const std::string& eventName,
                                                               const std::string& second,
                                                               const std::string& third,
                                                               void* userData);

#endif // SYSCONFREADEREVENT_H
