#ifndef EVENTCONSUMERCB_H
#define EVENTCONSUMERCB_H

#include "SysConfReaderEvent.h"

#include <string>

/// An event service inside the process, for machines that have none: it watches the configuration
/// files themselves and delivers "SysConfigEvent" when one of them changes.
///
/// Which files: those that `APP_CONF_FILE`, `APP_ROOT` and `TOLM_ROOT` name at the time of the
/// subscription; relative ones start at the working directory of that time.
///
/// What counts as a change: everything that can make the path lead to other content. Writing in
/// place, renaming over, deleting, creating, changed permissions, a symbolic link or a folder
/// anywhere on the path that is switched, removed or comes into being. A burst is one event: it
/// comes when the files have been quiet for 50 ms (`SYSCONF_EVENT_QUIET_MS`, 0 to 1000), and at the
/// latest 1 s after the first change, so that a file that never rests is announced once a second.
/// Files that read as they did when they were last announced are not announced again.
///
/// Threads: any thread may call both functions at any time, from within a callback too. All
/// callbacks run on one thread of the service's own, one after the other, with no lock held and all
/// signals blocked. (Only a callback that is still running when EventConsumerCBFini returns keeps
/// its thread to itself; subscriptions made later get a new one.) A callback may throw; nothing
/// comes of it but that the files count as not announced. A forked child has no subscription and
/// can make new ones.
///
/// Cost: one thread, one descriptor, and for each subscription another one and a kernel watch for
/// each folder on the paths. While nothing changes the thread sleeps; only while the kernel refuses
/// a watch on a path that has changed does it look at the files once a second.

/// Subscribes to changes of the configuration files.
///
/// @param eventName "SysConfigEvent"; the service has no other event.
/// @param second Not looked at.
/// @param callback Whom to call; copied. The event comes with two empty texts. The library that
///        holds the function stays loaded from now on, because its code may be running at any time.
///        Subscribing the same function and user data again replaces the subscription there is;
///        subscriptions that differ stand side by side.
/// @return 0 when subscribed: a change that happens after the call has returned is delivered. -1
///         otherwise: another event, no function to call, a folder of a file that this process may
///         not list, a relative path in a working directory that is gone, the kernel's limits for
///         watches, descriptors or threads, memory that ran out, or a process that is exiting.
/// Never throws.
extern "C" [[gnu::visibility("default")]] int
EventConsumerCBInit(const std::string& eventName, const std::string& second,
                    const EventConsumerCallback* callback);

/// Ends all subscriptions of the process.
///
/// No callback starts after this has returned. One that is running already keeps running, and this
/// does not wait for it: the caller may hold the very lock that the callback is waiting for. So
/// what a callback uses must outlive it, or be found gone by it: the callback of this project's
/// library compares its user data before it follows it. "Running" begins where the service has
/// decided to call, which is a few instructions before the callback's own first one. If no callback
/// is running, the thread and all descriptors are gone when this returns; else they go when the
/// callback returns.
/// The end of the process does the same.
/// Never throws.
extern "C" [[gnu::visibility("default")]] void EventConsumerCBFini();

#endif // EVENTCONSUMERCB_H
