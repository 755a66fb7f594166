// An event library for commands: appends a line for each call to the file named by EVENT_LOG, and
// throws out of its subscription when EVENT_THROWS is set, or refuses it when EVENT_REFUSES is.
// With EVENT_CHANGES it changes the process's environment at each subscription, which no program
// should.

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
