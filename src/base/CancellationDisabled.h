// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

namespace Quarncommon {

/// While it exists, no call of the thread is a cancellation point: unwinding out of a destructor or
/// a noexcept function terminates the process. The calls stay those of the C library, because the
/// thread sanitizer does not see a system call that closes a descriptor.
class CancellationDisabled {
public:
    CancellationDisabled() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    CancellationDisabled(const CancellationDisabled&) = delete;
    CancellationDisabled& operator=(const CancellationDisabled&) = delete;
    ~CancellationDisabled() { ::pthread_setcancelstate(m_before, nullptr); }

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

} // namespace Quarncommon
