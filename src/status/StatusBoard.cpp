// SPDX-License-Identifier: Apache-2.0
#include "status/StatusBoard.h"

#include "base/ForkCheck.h"
#include "status/StatusText.h"

#include <atomic>
#include <cstddef>
#include <dlfcn.h>
#include <link.h>
#include <mutex>
#include <new>

namespace Quarncommon::status {

namespace {

/// Two copies, of which a change writes the one that is not current: a child that is forked in the
/// middle of a change finds a complete status.
class Board {
public:
    constexpr Board() = default;

    SysConfReaderStatus read() noexcept {
        noticeFork();
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_copies[m_current];
    }

    template <typename Change>
    void update(Change change) noexcept {
        noticeFork();
        const std::lock_guard<std::mutex> guard(m_mutex);
        const std::size_t current = m_current;
        SysConfReaderStatus& next = m_copies[1 - current];
        next = m_copies[current];
        change(next);
        m_current = 1 - current;
    }

    void resetAfterFork() noexcept { new (&m_mutex) std::mutex; }

private:
    /// Held only while a status is copied.
    std::mutex m_mutex;
    SysConfReaderStatus m_copies[2];
    std::atomic<std::size_t> m_current{0};
};

constinit Board g_board;
constinit std::atomic<unsigned long long> g_generation{0};

} // namespace

SysConfReaderStatus current() noexcept {
    return g_board.read();
}

unsigned long long generation() noexcept {
    return g_generation.load(std::memory_order_acquire);
}

void publish(SysConfReaderStatus::Load SysConfReaderStatus::*reader,
             const SysConfReaderStatus::Load& load) noexcept {
    g_board.update([&](SysConfReaderStatus& status) {
        status.*reader = load;
        (status.*reader).number = ++status.lastLoad;
        g_generation.store(status.lastLoad, std::memory_order_release);
    });
}

void setSubscription(SysConfReaderStatus::Subscription subscription, void* library) noexcept {
    link_map* file = nullptr;
    const bool known =
        library != nullptr && ::dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&file)) == 0;
    g_board.update([&](SysConfReaderStatus& status) {
        status.subscription = subscription;
        store(known ? file->l_name : "", status.eventLibrary);
    });
}

void countEvent(unsigned long long SysConfReaderStatus::*counter) noexcept {
    g_board.update([&](SysConfReaderStatus& status) { ++(status.*counter); });
}

void resetBoardAfterFork() noexcept {
    g_board.resetAfterFork();
    // The parent may have been between the two stores of `publish`.
    g_board.update([](SysConfReaderStatus& status) { status.lastLoad = generation(); });
    setSubscription(SysConfReaderStatus::Subscription::None);
}

} // namespace Quarncommon::status
