// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// Makes allocations fail: the test executable replaces `new`, and without a sanitizer also malloc,
/// calloc and realloc. Link AllocationFaults.cpp.
namespace support {

enum class Shortage { OneAllocation, FromThereOn };

/// Allocation `which` (from 1) of this thread fails; with FromThereOn, every later one too.
class AllocationFault {
public:
    explicit AllocationFault(std::size_t which, Shortage shortage = Shortage::OneAllocation);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    bool happened() const;
};

/// The bytes that this thread has requested so far, those of freed memory included.
std::size_t requestedBytes();

/// Is called on every thread; true makes the allocation fail. It must not allocate.
void setAllocationHook(bool (*fails)());

} // namespace support
