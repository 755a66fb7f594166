// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// Failing allocations, injected from outside: the test executable replaces `new` and, in a plain
/// build, malloc, calloc and realloc as well (a sanitizer's runtime keeps its own). Link
/// AllocationFaults.cpp.
namespace support {

enum class Shortage { OneAllocation, FromThereOn };

/// While it exists, allocation number `which` of the current thread (counted from 1) fails; with
/// FromThereOn, every later one fails too.
class AllocationFault {
public:
    explicit AllocationFault(std::size_t which, Shortage shortage = Shortage::OneAllocation);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    /// Whether an allocation has failed.
    bool happened() const;
};

/// Called for each allocation, on every thread; if it returns true, the allocation fails. It must
/// not allocate. Null removes it.
void setAllocationHook(bool (*fails)());

} // namespace support
