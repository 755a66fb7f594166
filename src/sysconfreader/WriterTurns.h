#pragma once

#include <atomic>

namespace Quarncommon {

/// Lets writers of a reader/writer lock have their turn. The lock itself prefers readers, and
/// queries hold it while they read files: busy callers, one of whom always reads, would keep a
/// reload waiting for ever. So before a reader takes the lock it lets one waiting writer take it
/// first. It lets no second one pass: a stream of writers does not keep readers waiting either.
///
/// A thread that holds a lock already does not wait here: a writer may be waiting for just that
/// lock, be it that the thread reads twice, or that the event library delivers an event on it while
/// it loads. Those are the only two cases, so only they are kept account of: a thread's own count,
/// looked up and changed in every query, would cost the shortest ones a third of their time.
class WriterTurns {
public:
    constexpr WriterTurns() = default;

    void letOneWriterPass() {
        if (m_waiting.load() == 0 || s_locksHeldHere != 0) {
            return;
        }
        const unsigned int passed = m_passed.load();
        // Whoever still waits now will count as passed later.
        if (m_waiting.load() != 0) {
            m_passed.wait(passed);
        }
    }

    /// A writer's wait for the lock, to be ended when it has the lock or could not get it.
    class Wait {
    public:
        explicit Wait(WriterTurns& turns) : m_turns(turns) { ++m_turns.m_waiting; }
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;
        ~Wait() {
            --m_turns.m_waiting;
            ++m_turns.m_passed;
            m_turns.m_passed.notify_all();
        }

    private:
        WriterTurns& m_turns;
    };

    /// A reader's work in the course of which its thread reads once more.
    static void beginReadingTwice() { ++s_locksHeldHere; }
    static void endReadingTwice() { --s_locksHeldHere; }

    /// A writer's work: what the lock guards may be half changed in between.
    void beginWriting() {
        ++m_writing;
        ++s_locksHeldHere;
    }
    void endWriting() {
        --s_locksHeldHere;
        --m_writing;
    }
    bool writing() const { return m_writing.load() != 0; }

    /// Whether the calling thread is at one of these.
    static bool lockHeldHere() { return s_locksHeldHere != 0; }

    /// For a forked child, which has none of the threads that wait or write.
    void forgetOtherThreads() {
        m_waiting = 0;
        m_writing = 0;
    }

private:
    std::atomic<unsigned int> m_waiting{0};
    std::atomic<unsigned int> m_passed{0};
    std::atomic<unsigned int> m_writing{0};

    static inline constinit thread_local unsigned int s_locksHeldHere = 0;
};

/// Those of the lock of a class.
template <typename Class>
inline constinit WriterTurns turnsOf{};

} // namespace Quarncommon
