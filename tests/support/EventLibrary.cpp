// SPDX-License-Identifier: Apache-2.0
#include "support/EventLibrary.h"

#include "support/EventBroker.h"
#include "support/TestDirectory.h"

#include <filesystem>
#include <link.h>
#include <string_view>
#include <utility>

namespace {

support::EventBroker& broker() {
    return *sysconfTestEventBroker();
}

} // namespace

support::EventBroker* sysconfTestEventBroker() {
    static support::EventBroker broker;
    return &broker;
}

namespace support {

void installEventLibrary(const std::string& kind) {
    const std::filesystem::path installed = testDirectory() / "libeventcbutil.so";
    std::filesystem::remove(installed);
    std::filesystem::create_symlink(std::filesystem::path(SYSCONF_TEST_EVENT_LIBRARIES) / kind /
                                        "libeventcbutil.so",
                                    installed);
}

bool eventLibraryLoaded() {
    const auto isEventLibrary = [](dl_phdr_info* object, std::size_t, void*) {
        return std::string_view(object->dlpi_name).ends_with("/libeventcbutil.so") ? 1 : 0;
    };
    return ::dl_iterate_phdr(isEventLibrary, nullptr) != 0;
}

void setInitResult(int result) {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    broker().initResult = result;
}

void setInitThrows(bool throws) {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    broker().initThrows = throws;
}

void setInitHook(std::function<void()> hook) {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    broker().initHook = std::move(hook);
}

void setSubscribedHook(std::function<void()> hook) {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    broker().subscribedHook = std::move(hook);
}

void setFiniHook(std::function<void()> hook) {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    broker().finiHook = std::move(hook);
}

void setRedeliverHook(std::function<void()> hook) {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    broker().redeliverHook = std::move(hook);
}

EventLibraryCalls eventLibraryCalls() {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    return {broker().inits,        broker().subscriptions, broker().finis,
            broker().redeliveries, broker().lastEventName, broker().lastSecond};
}

EventConsumerCallback lastRedelivery() {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    return broker().lastRedelivery;
}

bool subscribed() {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    return broker().subscribed;
}

void* lastUserData() {
    const std::lock_guard<std::mutex> guard(broker().mutex);
    return broker().subscription.userData;
}

int deliver(const std::string& eventName) {
    EventConsumerCallback subscription{};
    {
        const std::lock_guard<std::mutex> guard(broker().mutex);
        if (!broker().subscribed) {
            return -2;
        }
        subscription = broker().subscription;
        ++broker().delivering;
    }
    const int answer = subscription.callback(eventName, "second", "third", subscription.userData);
    const std::lock_guard<std::mutex> guard(broker().mutex);
    --broker().delivering;
    broker().idle.notify_all();
    return answer;
}

} // namespace support
