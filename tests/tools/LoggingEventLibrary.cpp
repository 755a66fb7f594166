// SPDX-License-Identifier: Apache-2.0
// Logs its calls to the file EVENT_LOG. A subscription throws with EVENT_THROWS, fails with
// EVENT_REFUSES, and with EVENT_CHANGES changes the environment, which violates the contract.

#include <SysConfReaderEvent.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

void log(const char* line) {
    if (const char* const file = std::getenv("EVENT_LOG")) {
        std::ofstream(file, std::ios::app) << line << '\n';
    }
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] int EventConsumerCBInit(const std::string&, const std::string&,
                                                       const EventConsumerCallback*) {
    log("init");
    if (std::getenv("EVENT_CHANGES") != nullptr) {
        const std::string root = std::getenv("APP_ROOT") != nullptr ? std::getenv("APP_ROOT") : "";
        ::setenv("APP_ROOT", (root + "x").c_str(), 1);
    }
    if (std::getenv("EVENT_THROWS") != nullptr) {
        throw std::runtime_error("the broker \033[31mis gone");
    }
    return std::getenv("EVENT_REFUSES") != nullptr ? -7 : 0;
}

[[gnu::visibility("default")]] void EventConsumerCBFini() {
    log("fini");
}
}
