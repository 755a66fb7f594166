// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderStatus.h"

/// Notifications of loads: callbacks and descriptors.
namespace Quarncommon::status {

/// Whether this thread has loaded something since it last sent notifications.
inline constinit thread_local bool t_loadToAnnounce = false;

/// Sends the notifications of this thread's loads, if there are any and the thread holds no lock of
/// the library; otherwise the operation that the load is part of calls again. To be called under no
/// other lock either. Keeps `errno`.
void announceLoads();

unsigned long long addCallback(SysConfReaderStatus::Callback* callback, void* userData) noexcept;
void removeCallback(unsigned long long id) noexcept;
int openNoticeDescriptor() noexcept;
void closeNoticeDescriptor(int number) noexcept;

/// For a forked child, which only has the callbacks that its one thread is in the middle of.
void resetNoticesAfterFork() noexcept;

} // namespace Quarncommon::status
