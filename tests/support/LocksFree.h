// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/LockFaults.h"

#include <gtest/gtest.h>

#include <string>

/// What is expected of the locks after a call. Goes with LockFaults.cpp linked in.
namespace support {

/// The calling thread holds no lock, and has released none that it did not hold.
inline void expectNoLockHeld(const std::string& when = "") {
    const LockCounts held = locksHeldHere();
    EXPECT_EQ(held.read, 0U) << when;
    EXPECT_EQ(held.write, 0U) << when;
    EXPECT_EQ(held.unlock, 0U) << "unlocked without having locked " << when;
}

/// Nor does any other thread hold one of those taken since the start or the last reset.
inline void expectLocksFree() {
    const LockCounts counts = lockCounts();
    EXPECT_EQ(counts.read + counts.write, counts.unlock);
    expectNoLockHeld();
}

} // namespace support
