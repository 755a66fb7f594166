// SPDX-License-Identifier: Apache-2.0
#ifndef EVENTCONSUMERCB_H
#define EVENTCONSUMERCB_H

#include "SysConfReaderEvent.h"

#include <string>

/// An event service inside the process: it watches the configuration files and delivers
/// "SysConfigEvent" when one of them changes. docs/events.md describes which changes are noticed
/// and which can be lost, repetitions and costs.
///
/// The files are those that `APP_CONF_FILE`, `APP_ROOT` and `TOLM_ROOT` name at the time of the
/// subscription; relative paths start at the working directory of that time. Only
/// EventConsumerCBInit reads the environment. **The program must not change the environment while
/// another thread is in EventConsumerCBInit:** the C library does not synchronize setenv(3) with
/// getenv(3), and the process may crash.
///
/// Threads: any thread may call all functions at any time, holding its locks, from within a
/// callback, and from handlers of pthread_atfork(3). Callbacks run one after another on one thread
/// of the service, which holds no lock during a callback and blocks all signals except those for
/// its own faults. A forked child has no subscription and can make new ones.
///
/// A std::new_handler that runs in one of these functions may call exit(3). If it calls one of them
/// while the service's mutex is held, that call fails or has no effect.
///
/// Descriptors are close-on-exec and numbered 3 or higher. A program may close them
/// (`closefrom(3)`): the service verifies them before each use, replaces lost ones, and then
/// announces a change.

/// Subscribes to changes of the configuration files.
///
/// @param eventName "SysConfigEvent"; the service has no other event.
/// @param second Not used.
/// @param callback Copied. It is called with the event's name, two empty strings and the user data.
///        The library that contains the function stays loaded from now on, and so does this one.
///        Subscribing the same function and user data again replaces that subscription; others are
///        independent.
/// @return 0 if subscribed: a change after the return is delivered. -1 otherwise: another event, no
///         function, a folder of a file that this process may not list, a relative path in a
///         working directory that was deleted, the kernel's limits for watches, descriptors or
///         threads, out of memory, or a process that is exiting.
/// Never throws. Reads the environment, see above. Blocks while a file system does not answer.
extern "C" [[gnu::visibility("default")]] int
EventConsumerCBInit(const std::string& eventName, const std::string& second,
                    const EventConsumerCallback* callback);

/// Ends all subscriptions of the process.
///
/// No delivery begins after this has returned. A delivery that has begun is waited for, but at most
/// 1 s, because the caller may hold a lock that the callback needs. After that time its callback
/// may still start or run, so what it uses must outlive it. On a thread that runs a callback this
/// does not wait. exit(3) does the same, with the same limit. Never throws.
extern "C" [[gnu::visibility("default")]] void EventConsumerCBFini();

/// Requests a delivery for one subscription, as if its last delivery had returned -1. For a
/// subscriber that could not load the files for lack of memory or descriptors.
///
/// @param callback The function and user data of the subscription. Without such a subscription, and
///         if null, nothing happens.
/// Never throws. Waits only for the service's mutex, which is held briefly. If it is called in the
/// callback, the delivery is repeated for any result.
extern "C" [[gnu::visibility("default")]] void
EventConsumerCBRedeliver(const EventConsumerCallback* callback);

#endif // EVENTCONSUMERCB_H
