#pragma once

/// Makes one allocation of the current thread fail while the object lives: the one that comes
/// after `before` others. Any allocation in a plain build, only `new` under the address
/// sanitizer, whose runtime keeps malloc to itself.
class FailingAllocation {
public:
    explicit FailingAllocation(unsigned before);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether the allocation has come and failed.
    bool hasFailed() const;
};
