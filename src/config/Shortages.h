// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/Exceptions.h"
#include "config/FileText.h"

#include <json/value.h>

#include <atomic>
#include <new>
#include <utility>

/// Loads that meet a shortage (docs/decisions/0009-shortages.md).
namespace Quarncommon {

/// The shortages that this thread has met; a counter, because loads of the two readers nest.
inline constinit thread_local unsigned int t_shortageCount = 0;

/// Whether the event library does not know yet that the last load of the class met one.
template <typename Class>
inline constinit std::atomic<bool> unreportedShortage{false};

template <typename Class, typename Steps>
void load(Steps&& steps) {
    const unsigned int before = t_shortageCount;
    std::forward<Steps>(steps)();
    unreportedShortage<Class> = t_shortageCount != before;
}

template <typename Step>
void loadStep(Step&& step) {
    runDroppingExceptions([&] {
        try {
            std::forward<Step>(step)();
        } catch (const std::bad_alloc&) {
            ++t_shortageCount;
            throw;
        } catch (const Json::RuntimeError&) {
            // How jsoncpp reports that it has no memory for a text; a wrong type is a LogicError.
            ++t_shortageCount;
            throw;
        }
    });
}

inline bool parsedForLoad(config::ReadResult result) {
    t_shortageCount += result.unavailable() ? 1 : 0;
    return static_cast<bool>(result);
}

} // namespace Quarncommon
