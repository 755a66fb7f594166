// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "locks/TimedWait.h"

#include <atomic>

namespace Quarncommon {

/// Lets one waiting writer of a lock that prefers readers pass, during the first second of every
/// ten that it waits (the claim). A thread that already holds a lock never waits here
/// (docs/decisions/0005-writers-have-their-turn.md).
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

    /// 0 outside the claim.
    static constexpr Clock::duration remainingClaim(Clock::duration waited) {
        const Clock::duration inPeriod = waited % kPeriod;
        return inPeriod < kClaim ? kClaim - inPeriod : Clock::duration::zero();
    }

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

    static void beginReadingTwice() { ++s_locksHeldHere; }
    static void endReadingTwice() { --s_locksHeldHere; }

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
