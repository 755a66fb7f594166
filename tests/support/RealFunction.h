// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

namespace support {

/// What a function that the test executable replaces is to call: the interceptor of the sanitizer,
/// which must still see the calls that go through, or else the C library's own function.
template <typename Function>
Function* realFunction(Function* interceptor, const char* name) {
    return interceptor != nullptr ? interceptor
                                  : reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace support
