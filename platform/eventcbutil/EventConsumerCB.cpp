// SPDX-License-Identifier: Apache-2.0
#include "EventConsumerCB.h"

#include "Service.h"
#include "Settings.h"
#include "Subscription.h"

#include <dlfcn.h>
#include <memory>

namespace {

using namespace eventcbutil;

constexpr const char* kEventName = "SysConfigEvent";

/// A callback may run longer than Fini waits, so dlclose() must not unload its library.
void keepLoaded(EventProcessCallback* callback) {
    Dl_info place{};
    if (::dladdr(reinterpret_cast<void*>(callback), &place) == 0 || place.dli_fname == nullptr) {
        return;
    }
    void* library = ::dlopen(place.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    if (library != nullptr) {
        ::dlclose(library);
    }
}

} // namespace

int EventConsumerCBInit(const std::string& eventName, const std::string& /*second*/,
                        const EventConsumerCallback* callback) {
    if (eventName != kEventName || callback == nullptr || callback->callback == nullptr) {
        return -1;
    }
    try {
        keepLoaded(callback->callback);
        auto subscription =
            std::make_shared<Subscription>(eventName, *callback, settingsFromEnvironment());
        return Service::instance().subscribe(std::move(subscription)) ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

void EventConsumerCBFini() {
    try {
        Service::instance().unsubscribeAll();
    } catch (...) {
        // No service, or its mutex reports misuse; the caller is a destructor.
        return;
    }
}

void EventConsumerCBRedeliver(const EventConsumerCallback* callback) {
    if (callback == nullptr) {
        return;
    }
    try {
        Service::instance().redeliver(*callback);
    } catch (...) {
        return;
    }
}
