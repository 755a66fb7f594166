// SPDX-License-Identifier: Apache-2.0
#include "watch/Events.h"

#include <SysConfReaderEvent.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <link.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace sysconfctl {
namespace {

constexpr const char* kFileName = "libeventcbutil.so";

/// Never closed: a callback may still run after its subscription has ended.
int wakeUp() {
    static const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return descriptor;
}

int eventArrived(const std::string& /*eventName*/, const std::string& /*second*/,
                 const std::string& /*third*/, void* /*userData*/) {
    const std::uint64_t once = 1;
    return ::write(wakeUp(), &once, sizeof once) == sizeof once ? 0 : -1;
}

const char* switchedOffBy() {
    for (const char* name : {"NO_EM_CLIENT", "NO_EM_CLIENT_CONSUMER"}) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment no longer changes.
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return name;
        }
    }
    return nullptr;
}

std::string fileOf(void* library) {
    link_map* map = nullptr;
    const bool known = ::dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&map)) == 0;
    // The loader's search path may contain relative directories.
    return known ? std::filesystem::absolute(map->l_name).string() : kFileName;
}

template <typename EntryPoint>
EntryPoint* entryPoint(void* library, const char* name) {
    return reinterpret_cast<EntryPoint*>(::dlsym(library, name));
}

} // namespace

Events::Events() {
    if (wakeUp() < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    m_report = subscribe();
}

Events::~Events() {
    if (!m_subscribed) {
        return;
    }
    try {
        if (auto* fini =
                entryPoint<EventConsumerCBFiniFunction>(m_library, "EventConsumerCBFini")) {
            fini();
        }
    } catch (...) {
        // An error is ignored: the subscription ends when the process exits.
        return;
    }
}

std::string Events::subscribe() {
    if (const char* const variable = switchedOffBy()) {
        return fmt::format("{} is set", variable);
    }
    m_library = ::dlopen(kFileName, RTLD_LAZY | RTLD_GLOBAL);
    if (m_library == nullptr) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the error text of the loader is thread-local.
        return ::dlerror();
    }
    const std::string file = fileOf(m_library);
    auto* init = entryPoint<EventConsumerCBInitFunction>(m_library, "EventConsumerCBInit");
    if (init == nullptr) {
        return file + " has no EventConsumerCBInit";
    }
    const EventConsumerCallback callback{eventArrived, nullptr};
    try {
        const int result = init("SysConfigEvent", "", &callback);
        m_subscribed = result >= 0;
        return m_subscribed
                   ? file
                   : fmt::format("{} refused the subscription with result {}", file, result);
    } catch (const std::exception& exception) {
        return fmt::format("{} threw: {}", file, exception.what());
    } catch (...) {
        return file + " threw";
    }
}

int Events::descriptor() const {
    return wakeUp();
}

void Events::clear() {
    std::uint64_t notifications = 0;
    [[maybe_unused]] const ssize_t size = ::read(wakeUp(), &notifications, sizeof notifications);
}

} // namespace sysconfctl
