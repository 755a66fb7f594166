#pragma once

#include "sysconfreader/WriterTurns.h"

#include <ace/Guard_T.h>
#include <ace/RW_Thread_Mutex.h>

#include <cerrno>
#include <cxxabi.h>

/// What keeps errors from where they must not go: out of a lock, out of an operation that never
/// throws.
namespace Quarncommon {

/// A scoped lock that remembers whether it was acquired and is released only then. A failed
/// acquisition is not an error: the scope runs without the lock, and when it ends the lock's error
/// number is in `errno`, whatever the scope did to `errno` meanwhile. A failed release leaves its
/// number there too.
template <typename AceGuard>
class ErrnoKeepingGuard : public AceGuard {
public:
    ErrnoKeepingGuard(const ErrnoKeepingGuard&) = delete;
    ErrnoKeepingGuard& operator=(const ErrnoKeepingGuard&) = delete;

protected:
    explicit ErrnoKeepingGuard(ACE_RW_Thread_Mutex& mutex)
        : AceGuard(mutex), m_error(this->locked() ? 0 : errno) {}
    ~ErrnoKeepingGuard() {
        if (m_error != 0) {
            errno = m_error;
        }
    }

private:
    int m_error;
};

/// The read side, after a writer that waits for the lock.
class ReadGuard : public ErrnoKeepingGuard<ACE_Read_Guard<ACE_RW_Thread_Mutex>> {
public:
    ReadGuard(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns)
        : ErrnoKeepingGuard((turns.letOneWriterPass(), mutex)) {}
};

/// The read side for who takes it once more meanwhile.
class OuterReadGuard : public ReadGuard {
public:
    OuterReadGuard(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns) : ReadGuard(mutex, turns) {
        WriterTurns::beginReadingTwice();
    }
    OuterReadGuard(const OuterReadGuard&) = delete;
    OuterReadGuard& operator=(const OuterReadGuard&) = delete;
    ~OuterReadGuard() { WriterTurns::endReadingTwice(); }
};

/// The write side.
class WriteGuard : public ErrnoKeepingGuard<ACE_Write_Guard<ACE_RW_Thread_Mutex>> {
public:
    WriteGuard(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns)
        : WriteGuard(mutex, turns, WriterTurns::Wait(turns)) {}
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;
    // Before the base lets go of the lock.
    ~WriteGuard() { m_turns.endWriting(); }

private:
    WriteGuard(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns,
               const WriterTurns::Wait& /*untilAcquired*/)
        : ErrnoKeepingGuard(mutex), m_turns(turns) {
        m_turns.beginWriting();
    }

    WriterTurns& m_turns;
};

/// A copy of what the mutex guards, made under its read side.
template <typename Member>
Member copyUnder(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns, const Member& member) {
    const ReadGuard guard(mutex, turns);
    return member;
}

/// Runs `step` and tells whether it came to its end; whatever it throws is dropped. Only the
/// unwinding of a cancelled thread goes on: to drop that would end the process.
template <typename Step>
bool completes(Step&& step) {
    try {
        step();
        return true;
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return false;
    }
}

} // namespace Quarncommon
