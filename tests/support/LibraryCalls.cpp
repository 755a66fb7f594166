// SPDX-License-Identifier: Apache-2.0
#include "support/LibraryCalls.h"

#include "support/RealFunction.h"

#include <map>
#include <mutex>
#include <string_view>

extern "C" {
[[gnu::weak]] void* __interceptor_dlopen(const char*, int);
[[gnu::weak]] int __interceptor_dlclose(void*);
[[gnu::visibility("default")]] void* dlopen(const char*, int) noexcept;
[[gnu::visibility("default")]] int dlclose(void*) noexcept;
}

namespace {

struct Watch {
    std::mutex mutex;
    std::vector<support::LibraryOpen> opens;
    /// Each open handle with the number of its opens.
    std::map<void*, int> handles;
    int closes = 0;
    bool failOpens = false;
    bool failCloses = false;
};

Watch& watch() {
    static Watch watch;
    return watch;
}

bool opensFail() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    return watch().failOpens;
}

} // namespace

extern "C" {
void* dlopen(const char* name, int flags) noexcept {
    auto* real = support::realFunction<void*(const char*, int)>(&__interceptor_dlopen, "dlopen");
    if (name == nullptr || std::string_view(name).find("eventcbutil") == std::string_view::npos) {
        return real(name, flags);
    }
    void* handle = opensFail() ? nullptr : real(name, flags);
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().opens.push_back({name, flags, handle != nullptr});
    if (handle != nullptr) {
        ++watch().handles[handle];
    }
    return handle;
}

int dlclose(void* handle) noexcept {
    {
        const std::lock_guard<std::mutex> guard(watch().mutex);
        if (const auto open = watch().handles.find(handle);
            open != watch().handles.end() && open->second > 0) {
            ++watch().closes;
            if (watch().failCloses) {
                return -1;
            }
            --open->second;
        }
    }
    return support::realFunction<int(void*)>(&__interceptor_dlclose, "dlclose")(handle);
}
}

namespace support {

std::vector<LibraryOpen> eventLibraryOpens() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    return watch().opens;
}

void failLibraryOpens(bool fail) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().failOpens = fail;
}

void failLibraryCloses(bool fail) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().failCloses = fail;
}

int eventLibraryCloses() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    return watch().closes;
}

} // namespace support
