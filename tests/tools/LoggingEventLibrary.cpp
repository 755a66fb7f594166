// SPDX-License-Identifier: Apache-2.0
// Logs its calls to the file EVENT_LOG. A subscription throws with EVENT_THROWS, fails with
// EVENT_REFUSES, and with EVENT_CHANGES changes the environment, which violates the contract. The
// call that EVENT_HANGS names, "init" or "fini", does not return.

#include <SysConfReaderEvent.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

void log(const char* line) {
    if (const char* const file = std::getenv("EVENT_LOG")) {
        std::ofstream(file, std::ios::app) << line << '\n';
    }
    const char* const hanging = std::getenv("EVENT_HANGS");
    if (hanging != nullptr && std::string_view(hanging) == line) {
        std::cerr << line << " hangs\n";
        for (;;) {
            ::pause();
        }
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
