// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/LockFaults.h"

#include <gtest/gtest.h>

#include <string>

/// Checks of the locks after a call. Link LockFaults.cpp.
namespace support {

/// The calling thread holds no lock, and has released only locks that it held.
inline void expectNoLockHeld(const std::string& when = "") {
    const LockCounts held = locksHeldHere();
    EXPECT_EQ(held.read, 0U) << when;
    EXPECT_EQ(held.write, 0U) << when;
    EXPECT_EQ(held.unlock, 0U) << "unlocked without having locked " << when;
}

/// In addition, no thread holds a lock that was acquired since the start or the last reset.
inline void expectLocksFree() {
    const LockCounts locks = lockCounts();
    EXPECT_EQ(locks.read + locks.write, locks.unlock);
    expectNoLockHeld();
}

} // namespace support
