// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderStatus.h"

namespace Quarncommon::status {

/// Whether this thread has loaded something since it last sent notifications.
inline constinit thread_local bool t_loadToAnnounce = false;

/// Sends the notifications of this thread's loads, unless it holds a lock of the library: then the
/// operation that the load is part of calls again. Keeps `errno`.
void announceLoads();

unsigned long long addCallback(SysConfReaderStatus::Callback* callback, void* userData) noexcept;
void removeCallback(unsigned long long id) noexcept;
int openNoticeDescriptor() noexcept;
void closeNoticeDescriptor(int number) noexcept;

/// For a forked child, which only has the callbacks that its one thread is in the middle of.
void resetNoticesAfterFork() noexcept;

} // namespace Quarncommon::status
