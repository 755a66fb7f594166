// SPDX-License-Identifier: Apache-2.0
#include "exec/LibraryThread.h"

#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace sysconfctl {

LibraryThread::LibraryThread() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    std::thread([this] { work(); }).detach();
}

void LibraryThread::ask(const std::vector<const Query*>& asked, bool revealSecrets) {
    if (!isAsking()) {
        start(Task([asked, revealSecrets] { return askVariables(asked, revealSecrets); }));
    }
}

std::optional<std::vector<AnswerVariable>> LibraryThread::answers() {
    eventfd_t ended = 0;
    if (::eventfd_read(m_descriptor, &ended) != 0) {
        return std::nullopt;
    }
    return m_result.get();
}

bool LibraryThread::destroyInstances(std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    if (isAsking() && m_result.wait_until(end) != std::future_status::ready) {
        return false;
    }
    start(Task([] {
        const library::Session session;
        return std::vector<AnswerVariable>{};
    }));
    return m_result.wait_until(end) == std::future_status::ready;
}

void LibraryThread::start(Task task) {
    m_result = task.get_future();
    m_task = std::move(task);
    m_started.release();
}

void LibraryThread::work() {
    for (;;) {
        m_started.acquire();
        // Moved, because the next task can be set as soon as the result is ready.
        Task task = std::move(m_task);
        task();
        ::eventfd_write(m_descriptor, 1);
    }
}

} // namespace sysconfctl
