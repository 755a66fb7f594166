// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/CallFaults.h"

#include <functional>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// A process recovers from a failing call: it has leaked nothing, answers from the files and
/// follows their changes. Each fault is tried in a new process.
namespace faults {

/// The action after which the answers are right again.
enum class Repair {
    /// None, or one reload if the fault prevented the subscription.
    None,
    /// One reload if `act` threw std::bad_alloc.
    ReloadIfThrown,
    /// One reload, because the caller's load failed.
    Reload
};

struct Scenario {
    std::string name;
    /// The files exist.
    std::function<void(support::Deployment&)> prepare;
    std::function<void(support::Deployment&)> act;
    enum class Thread { Caller, Other } thread = Thread::Caller;
    Repair repair = Repair::None;
    /// The event library's thread continues after `act`, so the fault must last longer.
    bool leavesWork = false;
};

struct Failing {
    support::Call call;
    const char* name;
    int error;
    std::size_t calls;
    /// The number of the first call that is tried, and the distance to the next.
    std::size_t from = 1;
    std::size_t step = 1;
};

bool takesItsTime();

std::vector<Failing> failingSystemCalls();
std::vector<Failing> failingAllocations(std::size_t step);

void expectRecovery(const std::vector<Scenario>& scenarios, const std::vector<Failing>& failing,
                    std::size_t leastFaults);

} // namespace faults
