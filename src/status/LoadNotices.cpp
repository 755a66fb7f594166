// SPDX-License-Identifier: Apache-2.0
#include "status/LoadNotices.h"

#include "base/Exceptions.h"
#include "base/ForkCheck.h"
#include "locks/TimedWait.h"
#include "locks/WriterHandoff.h"
#include "status/MarkedDescriptor.h"
#include "status/StatusBoard.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace Quarncommon::status {

namespace {

using Callback = SysConfReaderStatus::Callback;

/// Tables of this fixed size need no memory when a notification is sent.
constexpr std::size_t kMost = 64;

struct Subscriber {
    Callback* callback = nullptr;
    void* userData = nullptr;
    /// Kept until the entry is used again, for those that wait for its calls.
    unsigned long long id = 0;
    unsigned int calls = 0;
    /// Set last, for forked children.
    std::atomic<bool> active{false};
};

struct Notice {
    MarkedDescriptor descriptor;
    /// Opened by the parent of this process, and rung by it.
    bool inherited = false;
};

/// Guards the tables. Held during no callback.
constinit std::mutex g_mutex;
constinit std::array<Subscriber, kMost> g_subscribers{};
constinit std::array<Notice, kMost> g_notices{};
constinit unsigned long long g_lastId = 0;
/// Changes whenever a call of a callback has ended.
constinit std::atomic<unsigned int> g_callsEnded{0};
constinit std::atomic<bool> g_exiting{false};
constinit std::atomic<bool> g_exitHandled{false};

class Lock {
public:
    Lock() : m_guard((noticeFork(), g_mutex)) {}

private:
    std::lock_guard<std::mutex> m_guard;
};

/// A call of a callback; a thread has at most one at a time.
class Call {
public:
    explicit Call(Subscriber& subscriber) : m_subscriber(subscriber) {
        const Lock lock;
        m_callback = subscriber.active ? subscriber.callback : nullptr;
        m_userData = subscriber.userData;
        subscriber.calls += m_callback != nullptr ? 1 : 0;
        s_running = this;
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() {
        s_running = nullptr;
        if (m_callback != nullptr) {
            countEnd();
        }
    }

    void run() const {
        if (m_callback != nullptr) {
            runDroppingExceptions([&] { m_callback(generation(), m_userData); });
        }
    }

    /// Whether this thread is in the middle of a callback.
    static bool runningHere() { return s_running != nullptr; }

    /// For a forked child, which may be forked by a callback.
    static void countAgain() {
        if (s_running != nullptr && s_running->m_callback != nullptr) {
            s_running->m_subscriber.calls = 1;
        }
    }

private:
    void countEnd() {
        {
            const Lock lock;
            --m_subscriber.calls;
        }
        ++g_callsEnded;
        wakeAll(g_callsEnded);
    }

    static inline constinit thread_local Call* s_running = nullptr;

    Subscriber& m_subscriber;
    Callback* m_callback = nullptr;
    void* m_userData = nullptr;
};

void ringDescriptors() {
    const Lock lock;
    for (Notice& notice : g_notices) {
        if (!notice.inherited) {
            notice.descriptor.ring();
        }
    }
}

template <typename Table, typename Matches>
auto* find(Table& table, Matches matches) {
    for (auto& entry : table) {
        if (matches(entry)) {
            return &entry;
        }
    }
    return static_cast<typename Table::value_type*>(nullptr);
}

/// After the exit handler no callback is called: objects of the program are destroyed then.
void endAtExit() {
    if (!g_exitHandled.exchange(true)) {
        std::atexit([] { g_exiting = true; });
    }
}

} // namespace

void announceLoads() {
    if (!t_loadToAnnounce || WriterHandoff::lockHeldHere()) {
        return;
    }
    t_loadToAnnounce = false;
    const int errnoBefore = errno;
    ringDescriptors();
    // A callback that loads on each call would never end.
    if (!Call::runningHere()) {
        for (Subscriber& subscriber : g_subscribers) {
            if (subscriber.active && !g_exiting) {
                Call(subscriber).run();
            }
        }
        // The callbacks' own loads during an event.
        if (std::exchange(t_loadToAnnounce, false)) {
            ringDescriptors();
        }
    }
    errno = errnoBefore;
}

unsigned long long addCallback(Callback* callback, void* userData) noexcept {
    endAtExit();
    const Lock lock;
    Subscriber* free = find(g_subscribers, [](const Subscriber& subscriber) {
        return !subscriber.active && subscriber.calls == 0;
    });
    if (free == nullptr || callback == nullptr) {
        return 0;
    }
    free->callback = callback;
    free->userData = userData;
    free->id = ++g_lastId;
    free->active = true;
    return free->id;
}

void removeCallback(unsigned long long id) noexcept {
    for (;;) {
        const unsigned int ended = g_callsEnded.load();
        {
            const Lock lock;
            Subscriber* found = find(
                g_subscribers, [id](const Subscriber& subscriber) { return subscriber.id == id; });
            if (id == 0 || found == nullptr) {
                return;
            }
            found->active = false;
            if (found->calls == 0 || Call::runningHere()) {
                return;
            }
        }
        waitWhile(g_callsEnded, ended, kNoLimit);
    }
}

int openNoticeDescriptor() noexcept {
    const Lock lock;
    Notice* free =
        find(g_notices, [](const Notice& notice) { return !notice.descriptor.intact(); });
    if (free == nullptr) {
        errno = EMFILE;
        return -1;
    }
    free->inherited = false;
    free->descriptor.forget();
    free->descriptor.openEvent();
    // Its number is new, so another entry with it has lost its file. Marks repeat.
    for (Notice& other : g_notices) {
        if (&other != free && other.descriptor.number() == free->descriptor.number()) {
            other.descriptor.forget();
        }
    }
    return free->descriptor.number();
}

void closeNoticeDescriptor(int number) noexcept {
    const Lock lock;
    Notice* found = find(g_notices, [number](const Notice& notice) {
        return number >= 0 && notice.descriptor.number() == number && notice.descriptor.intact();
    });
    if (found != nullptr) {
        found->descriptor.close();
    }
}

void resetNoticesAfterFork() noexcept {
    new (&g_mutex) std::mutex;
    // The flag may be set before the handler is registered. Registering twice is harmless.
    g_exitHandled = false;
    for (Subscriber& subscriber : g_subscribers) {
        subscriber.calls = 0;
    }
    Call::countAgain();
    for (Notice& notice : g_notices) {
        notice.inherited = notice.descriptor.number() >= 0;
    }
}

} // namespace Quarncommon::status
