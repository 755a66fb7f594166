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

/// On every thread. If it returns true, the allocation fails. It must not allocate.
void setAllocationHook(bool (*fails)());

} // namespace support
