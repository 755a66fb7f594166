// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Memory that runs out in a plain build: goes with ServiceAllocations.cpp linked in, which
/// replaces malloc, calloc and realloc. Unlike support::AllocationFault it reaches the threads of
/// the event library.

enum class Threads { First, Others };

/// Of the allocations on these threads, the next `skip` succeed and the `count` after them fail.
void failAllocations(Threads threads, int skip, int count);
/// Whether one has failed. Lets all succeed again.
bool stopFailingAllocations();
