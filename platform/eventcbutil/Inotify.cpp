// SPDX-License-Identifier: Apache-2.0
#include "Inotify.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace eventcbutil {

Inotify::Inotify() : m_descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1") {}

int Inotify::watch(const std::string& folder, std::uint32_t mask) {
    if (!intact()) {
        return -EBADF;
    }
    // IN_DONT_FOLLOW: the walk along the path follows links itself. IN_EXCL_UNLINK: a deleted file
    // that is still open is not reported.
    const int watch =
        ::inotify_add_watch(m_descriptor.get(), folder.c_str(),
                            mask | IN_ONLYDIR | IN_DONT_FOLLOW | IN_MASK_ADD | IN_EXCL_UNLINK);
    return watch >= 0 ? watch : -errno;
}

void Inotify::unwatch(int watch) {
    // Fails if the kernel has removed the watch with the folder, which is fine.
    if (intact()) {
        ::inotify_rm_watch(m_descriptor.get(), watch);
    }
}

bool Inotify::read(const std::function<void(const Notice&)>& visit) {
    alignas(inotify_event) std::array<char, 16384> buffer;
    int waiting = 0;
    if (!intact() || ::ioctl(m_descriptor.get(), FIONREAD, &waiting) != 0) {
        return false;
    }
    while (waiting > 0) {
        const ssize_t size = ::read(m_descriptor.get(), buffer.data(), buffer.size());
        if (size <= 0) {
            return false;
        }
        waiting -= static_cast<int>(size);
        const auto end = static_cast<std::size_t>(size);
        for (std::size_t position = 0; position < end;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + position, sizeof event);
            position += sizeof event;
            const char* const name = buffer.data() + position;
            // The name is padded with zero bytes.
            visit({event.wd, event.mask, {name, ::strnlen(name, event.len)}});
            position += event.len;
        }
    }
    return true;
}

} // namespace eventcbutil
