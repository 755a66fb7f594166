// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "locks/TimedWait.h"

#include <atomic>

namespace Quarncommon {

/// Lets waiting writers of a reader/writer lock pass. The lock itself prefers readers, and queries
/// hold it while they read files. If callers are so busy that one of them always reads, a reload
/// would never get the lock. So a reader lets one waiting writer take the lock first. It does not
/// wait for a second one: a stream of writers does not starve readers either.
///
/// The wait is limited, so that a query that hangs in a file system does not block all others while
/// a writer waits for it. Readers hold back only during the first second of every ten that the
/// writer waits (the claim).
///
/// A thread that already holds a lock never waits here, because the writer may be waiting for that
/// lock. There are two cases: a query that takes the read side twice, and an event that is
/// delivered on the loading thread. Only these increment a counter of the thread; a counter in
/// every query would make the shortest ones slower by a third.
class WriterHandoff {
public:
    static constexpr Clock::duration kClaim = std::chrono::seconds(1);
    static constexpr Clock::duration kPeriod = std::chrono::seconds(10);

    constexpr WriterHandoff() = default;

    void letOneWriterPass() {
        if (m_waiting.load() != 0 && s_locksHeldHere == 0) {
            waitForOneWriter();
        }
    }

    /// How much longer readers hold back for a writer that has waited for `waited`; 0 outside its
    /// claim.
    static constexpr Clock::duration remainingClaim(Clock::duration waited) {
        const Clock::duration inPeriod = waited % kPeriod;
        return inPeriod < kClaim ? kClaim - inPeriod : Clock::duration::zero();
    }

    /// A writer's wait for the lock. Ends when the writer has the lock or has failed to get it.
    class Wait {
    public:
        explicit Wait(WriterHandoff& handoff) : m_handoff(handoff) {
            if (m_handoff.m_waiting.fetch_add(1) == 0) {
                m_handoff.beginClaim();
            }
        }
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;
        ~Wait() {
            m_handoff.beginClaim(); // of the next one, if more are waiting
            --m_handoff.m_waiting;
            ++m_handoff.m_passed;
            wakeAll(m_handoff.m_passed);
        }

    private:
        WriterHandoff& m_handoff;
    };

    /// Around a query during which its thread takes the read side a second time.
    static void beginReadingTwice() { ++s_locksHeldHere; }
    static void endReadingTwice() { --s_locksHeldHere; }

    /// Around a writer's work, while the guarded members may be half changed.
    void beginWriting() {
        ++m_writing;
        ++s_locksHeldHere;
    }
    void endWriting() {
        --s_locksHeldHere;
        --m_writing;
    }
    bool writing() const { return m_writing.load() != 0; }

    /// Whether the calling thread is inside one of these two.
    static bool lockHeldHere() { return s_locksHeldHere != 0; }

    /// For a forked child, which has none of the threads that were waiting or writing.
    void resetAfterFork() {
        m_waiting = 0;
        m_writing = 0;
    }

private:
    void beginClaim() { m_claimedSince = Clock::now().time_since_epoch().count(); }

    [[gnu::noinline]] void waitForOneWriter() {
        const unsigned int passed = m_passed.load();
        // A writer that still waits after this load will change m_passed.
        while (m_waiting.load() != 0 && m_passed.load() == passed) {
            const Clock::duration since(m_claimedSince.load());
            const Clock::duration left = remainingClaim(Clock::now().time_since_epoch() - since);
            if (left == Clock::duration::zero()) {
                return;
            }
            waitWhile(m_passed, passed, left);
        }
    }

    std::atomic<unsigned int> m_waiting{0};
    std::atomic<unsigned int> m_passed{0};
    std::atomic<unsigned int> m_writing{0};
    std::atomic<Clock::rep> m_claimedSince{0};

    static inline constinit thread_local unsigned int s_locksHeldHere = 0;
};

} // namespace Quarncommon
