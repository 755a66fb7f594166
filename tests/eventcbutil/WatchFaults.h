#pragma once

/// Faults of the kernel's interfaces that the event library stands on, injected from outside: the
/// test executable defines the calls itself, so this header goes with WatchFaults.cpp linked in.

/// From now on every new watch on a folder is refused with that error number; 0 lets them through.
void refuseWatches(int error);

/// The same for every new instance of inotify, or of eventfd.
void refuseInotify(int error);
void refuseEventfd(int error);

/// The next waits for something to happen end at once, as if by a signal.
void interruptWaits(int count);
/// How many of them have not come yet.
int interruptionsLeft();
