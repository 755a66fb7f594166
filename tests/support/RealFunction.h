// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

namespace support {

/// Returns the function that the test executable has replaced: the interceptor of the sanitizer,
/// which must see the calls, or the C library's function.
template <typename Function>
Function* realFunction(Function* interceptor, const char* name) {
    return interceptor != nullptr ? interceptor
                                  : reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace support
