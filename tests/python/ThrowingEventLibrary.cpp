// SPDX-License-Identifier: Apache-2.0
#include <SysConfReaderEvent.h>

#include <stdexcept>
#include <string>

extern "C" [[gnu::visibility("default")]] int
EventConsumerCBInit(const std::string& /*eventName*/, const std::string& /*second*/,
                    const EventConsumerCallback* /*callback*/) {
    throw std::runtime_error("no event service");
}

extern "C" [[gnu::visibility("default")]] void EventConsumerCBFini() {}
