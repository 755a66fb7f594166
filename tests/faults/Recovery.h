// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/CallFaults.h"

#include <functional>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// Tests that a process recovers from a failing call: afterwards it holds what it held, answers
/// from the files and follows their changes. Each fault is tried in a new process.
namespace faults {

/// What makes the answers right again after a fault.
enum class Repair {
    /// Nothing is needed but time, or the next call. If the process has no subscription, because
    /// the
    /// fault refused it one, then one reload.
    None,
    /// One reload if `act` threw std::bad_alloc: it has reloaded nothing, and the caller knows.
    ReloadIfThrown,
    /// One reload: the caller's own load was the one that failed.
    Reload
};

/// Something that a process does with the libraries while a call fails.
struct Scenario {
    std::string name;
    /// The state before; the files are there.
    std::function<void(support::Deployment&)> prepare;
    /// During this the fault can happen.
    std::function<void(support::Deployment&)> act;
    /// On which thread: the one that calls `act`, or another one, because of it.
    enum class Thread { Caller, Other } thread = Thread::Caller;
    Repair repair = Repair::None;
    /// Whether `act` leaves work to the event library's thread, so that the fault has to last
    /// longer than `act`.
    bool leavesWork = false;
};

/// A call that fails, from one time on.
struct Failing {
    support::Call call;
    const char* name;
    int error;
    std::size_t count;
    /// The first of the calls that are tried, and from each to the next.
    std::size_t from = 1;
    std::size_t step = 1;
};

/// Whether the tests try everything, however long that takes.
bool takesItsTime();

/// Every call but allocations, with its likely errors, once and until released.
std::vector<Failing> failingSystemCalls();
/// Every so many-th allocation, the same.
std::vector<Failing> failingAllocations(std::size_t step);

/// Tries each failing call in each scenario, at the first such call, the second, and so on until
/// the scenario has no more of them. Expects no problem, and at least `leastFaults` faults.
void expectRecovery(const std::vector<Scenario>& scenarios, const std::vector<Failing>& failing,
                    std::size_t leastFaults);

} // namespace faults
