// SPDX-License-Identifier: Apache-2.0
#include "EventConsumerCB.h"

#include "Service.h"
#include "Settings.h"
#include "Subscription.h"

#include <atomic>
#include <dlfcn.h>
#include <memory>

namespace {

using namespace eventcbutil;

constexpr const char* kEventName = "SysConfigEvent";

/// Keeps the shared library that contains the address loaded until the process ends.
/// @return False if there is none, or no memory.
bool keepLoaded(const void* address) {
    Dl_info place{};
    if (::dladdr(address, &place) == 0 || place.dli_fname == nullptr) {
        return false;
    }
    void* library = ::dlopen(place.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    return library != nullptr && ::dlclose(library) == 0;
}

constinit std::atomic<bool> g_thisKeptLoaded{false};

/// The thread may run code of the library until the process ends. Not by `-z nodelete`: a dlopen()
/// that fails for lack of memory would keep a library that is half registered, and an exception in
/// it would end the process.
bool keepThisLoaded() {
    if (!g_thisKeptLoaded) {
        g_thisKeptLoaded = keepLoaded(&g_thisKeptLoaded);
    }
    return g_thisKeptLoaded;
}

} // namespace

int EventConsumerCBInit(const std::string& eventName, const std::string& /*second*/,
                        const EventConsumerCallback* callback) {
    if (eventName != kEventName || callback == nullptr || callback->callback == nullptr) {
        return -1;
    }
    try {
        if (!keepThisLoaded()) {
            return -1;
        }
        // A callback may run longer than Fini waits. It may be part of no library.
        keepLoaded(reinterpret_cast<const void*>(callback->callback));
        // Before the first descriptor, so that no forked child keeps one.
        Service& service = Service::instance();
        auto subscription =
            std::make_shared<Subscription>(eventName, *callback, settingsFromEnvironment());
        return service.subscribe(std::move(subscription)) ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

void EventConsumerCBFini() {
    try {
        if (Service* const service = Service::existing()) {
            service->unsubscribeAll();
        }
    } catch (...) {
        // Called by a std::new_handler inside the service.
        return;
    }
}

void EventConsumerCBRedeliver(const EventConsumerCallback* callback) {
    if (callback == nullptr) {
        return;
    }
    try {
        if (Service* const service = Service::existing()) {
            service->redeliver(*callback);
        }
    } catch (...) {
        return;
    }
}
