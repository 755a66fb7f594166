#pragma once

#include <cstddef>

/// Memory that runs out, injected from outside: the test executable replaces `new` and, in a plain
/// build, malloc, calloc and realloc as well (a sanitizer's runtime keeps those to itself). Goes
/// with AllocationFaults.cpp linked in.
namespace support {

enum class Shortage { OneAllocation, FromThereOn };

/// While it lives, allocation number `which` of the current thread (counted from 1) fails, and, on
/// demand, every later one.
class AllocationFault {
public:
    explicit AllocationFault(std::size_t which, Shortage shortage = Shortage::OneAllocation);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    /// Whether an allocation has failed.
    bool happened() const;
};

} // namespace support
