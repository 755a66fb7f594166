// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Makes allocations fail, also on the threads of the event library: ServiceAllocations.cpp
/// replaces malloc, calloc and realloc. Not with sanitizers.

enum class Threads { First, Others };

/// On these threads the next `skip` allocations succeed and the `calls` after them fail.
void failAllocations(Threads threads, int skip, int calls);
bool stopFailingAllocations();
