// SPDX-License-Identifier: Apache-2.0
#include "MountTable.h"

#include <fcntl.h>
#include <utility>

namespace eventcbutil {

MountTable::MountTable()
    : m_descriptor(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC | O_NONBLOCK), "open") {}

void MountTable::woken(const pollfd& result) {
    if (result.fd == m_descriptor.get() && (result.revents & (POLLPRI | POLLERR)) != 0) {
        m_changed = true;
    }
}

bool MountTable::changed() {
    pollfd now = wait();
    if (::poll(&now, 1, 0) > 0) {
        woken(now);
    }
    return std::exchange(m_changed, false);
}

} // namespace eventcbutil
