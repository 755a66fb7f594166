// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cxxabi.h>

namespace Quarncommon {

/// Runs `step` and returns whether it completed. Drops every exception, except the unwinding of a
/// cancelled thread: dropping that terminates the process. Nothing else in src/ drops exceptions.
template <typename Step>
bool runDroppingExceptions(Step&& step) {
    try {
        step();
        return true;
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return false;
    }
}

} // namespace Quarncommon
