// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

extern "C" [[gnu::weak]] void __asan_handle_no_return();

namespace support {

/// Cancels this thread at once. The address sanitizer does not notice this kind of unwinding, so it
/// is notified.
inline void cancelThisThread() {
    if (&__asan_handle_no_return != nullptr) {
        __asan_handle_no_return();
    }
    ::pthread_cancel(::pthread_self());
    ::pthread_testcancel();
}

} // namespace support
