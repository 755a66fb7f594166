// SPDX-License-Identifier: Apache-2.0
#ifndef EVENTCONSUMERCB_H
#define EVENTCONSUMERCB_H

#include "SysConfReaderEvent.h"

#include <string>

/// An event service inside the process, for machines that have none: it watches the configuration
/// files and delivers "SysConfigEvent" when one of them changes.
///
/// Files: those that `APP_CONF_FILE`, `APP_ROOT` and `TOLM_ROOT` name at the time of the
/// subscription. Relative paths start at the working directory of that time.
///
/// Environment: only EventConsumerCBInit reads it, on the thread of its caller. **The program must
/// not call setenv(3), putenv(3), unsetenv(3) or clearenv(3) while another thread is in
/// EventConsumerCBInit:** the C library does not synchronize them with getenv(3), and the process
/// may crash.
///
/// Events: one for each burst of changes, when the files have been quiet for 50 ms
/// (`SYSCONF_EVENT_QUIET_MS`, 0 to 1000), and at the latest 1 s after the first change. Files with
/// the same contents as at the last delivery are not announced again. A delivery is repeated until
/// the callback returns 0, after 100 ms, 200 ms and so on up to 30 s; a new change starts again
/// with 100 ms. docs/events.md describes which changes are noticed and which can be lost.
///
/// Threads: any thread may call all functions at any time, holding its locks, from within a
/// callback, and from handlers of pthread_atfork(3). Callbacks run one after another on one thread
/// of the service. That thread blocks all signals except SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGSYS,
/// SIGTRAP and SIGABRT. No lock of the service is held during a callback. A thread that does not
/// end within the limit of EventConsumerCBFini continues; there is at most one such thread, and a
/// new subscription waits for a second one. A forked child has no subscription and can make new
/// ones.
///
/// Descriptors: two for the thread and two for each subscription, close-on-exec and numbered 3 or
/// higher. A program may close them (`closefrom(3)`): the service verifies its descriptors before
/// each use, replaces lost ones, and then announces a change, because it may have missed one.
///
/// Cost: one thread, which sleeps while nothing changes, the descriptors, and a kernel watch for
/// each folder on the paths. A short-lived second thread reads the files for each announcement.

/// Subscribes to changes of the configuration files.
///
/// @param eventName "SysConfigEvent"; the service has no other event.
/// @param second Not used.
/// @param callback Copied. It is called with the event's name, two empty strings and the user data.
///        The library that contains the function stays loaded from now on. Subscribing the same
///        function and user data again replaces that subscription; others are independent.
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
/// does not wait.
///
/// If the wait succeeds, the thread and all descriptors are gone on return; otherwise they go when
/// the callback or the hanging system call returns. exit(3) does the same, with the same limit.
/// Never throws.
extern "C" [[gnu::visibility("default")]] void EventConsumerCBFini();

/// Requests a delivery for one subscription, as if its last delivery had returned -1: after 100 ms,
/// or after the next longer pause if deliveries failed before. For a subscriber that could not load
/// the files for lack of memory or descriptors.
///
/// @param callback The function and user data of the subscription. Without such a subscription, and
///        if null, nothing happens.
/// Never throws. Waits only for the service's mutex, which is held briefly, or for the duration of
/// a fork. If it is called in the callback, the delivery is repeated for any result of the
/// callback.
///
/// This entry point is optional for an event library: look it up with dlsym(3).
extern "C" [[gnu::visibility("default")]] void
EventConsumerCBRedeliver(const EventConsumerCallback* callback);

#endif // EVENTCONSUMERCB_H
