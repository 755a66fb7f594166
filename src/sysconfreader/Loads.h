#pragma once

#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

#include <json/value.h>

#include <atomic>
#include <new>
#include <string>
#include <utility>

/// Loads that met a shortage: a resource or the storage failed, and the files may be all right.
/// What such a load found is kept like that of any other, but a load should follow soon.
namespace Quarncommon {

/// The shortages that this thread has met. A counter, because loads of the two readers nest.
inline constinit thread_local unsigned int t_shortages = 0;

/// Whether the last load of the class met a shortage that the event library does not know of yet.
template <typename Class>
inline constinit std::atomic<bool> incomplete{false};

/// Runs `steps`, which load the class.
template <typename Class, typename Steps>
void load(Steps&& steps) {
    const unsigned int before = t_shortages;
    std::forward<Steps>(steps)();
    incomplete<Class> = t_shortages != before;
}

/// Runs a part of a load as `completes` does.
template <typename Step>
void loadStep(Step&& step) {
    completes([&] {
        try {
            std::forward<Step>(step)();
        } catch (const std::bad_alloc&) {
            ++t_shortages;
            throw;
        } catch (const Json::RuntimeError&) {
            // How jsoncpp reports that it has no memory for a text; a wrong type is a LogicError.
            ++t_shortages;
            throw;
        }
    });
}

/// Reads and parses a file for a load.
template <typename Value>
bool readForLoad(const std::string& path, Value& value) {
    const config::ReadResult result = config::readJsonFile(path, value);
    t_shortages += result.unavailable() ? 1 : 0;
    return static_cast<bool>(result);
}

} // namespace Quarncommon
