#pragma once

/// Faults of the kernel's interfaces that the event library stands on, injected from outside: the
/// test executable defines the calls itself, so this header goes with WatchFaults.cpp linked in.

/// From now on every new watch on a folder is refused with that error number; 0 lets them through.
void refuseWatches(int error);

/// The same for every new instance of inotify, or of eventfd.
void refuseInotify(int error);
void refuseEventfd(int error);

/// The next waits for something to happen fail at once with that error number; EINTR: as if a
/// signal had come.
void failWaits(int error, int count);
/// How many of them have not come yet.
int failuresLeft();

// What follows is there without sanitizers only.

/// The next reads of any descriptor fail with that error number.
void failReads(int error, int count);
/// From now on nobody learns where a link leads to, or how much there is to be read; 0 lets them.
void failLinks(int error);
void failCounts(int error);
/// The same for registering what is to be done at forks.
void refuseForkHandlers(int error);
