// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderStatus.h"

/// The status of the process. Every function may be called under any lock of the library.
namespace Quarncommon::status {

SysConfReaderStatus current() noexcept;

unsigned long long generation() noexcept;

/// Gives a load the next number and stores it as the last one of its reader.
void publish(SysConfReaderStatus::Load SysConfReaderStatus::*reader,
             const SysConfReaderStatus::Load& load) noexcept;

/// `library` is a handle of the event library, null if there is none.
void setSubscription(SysConfReaderStatus::Subscription subscription,
                     void* library = nullptr) noexcept;

void countEvent(unsigned long long SysConfReaderStatus::*counter) noexcept;

/// For a forked child, which has no subscription.
void resetBoardAfterFork() noexcept;

} // namespace Quarncommon::status
