#pragma once

#include "sysconfreader/Forks.h"
#include "sysconfreader/WriterTurns.h"

#include <ace/Guard_T.h>
#include <ace/RW_Thread_Mutex.h>

#include <cerrno>
#include <cxxabi.h>

/// Scoped locks, and the one place that catches every exception.
namespace Quarncommon {

/// A scoped lock that remembers whether it was acquired and is released only then. A failed
/// acquisition is not an error: the scope runs without the lock and sets `errno` to the lock's
/// error number when it ends. A failed release sets `errno` too.
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

/// The read side. Lets a waiting writer take the lock first.
class ReadGuard : public ErrnoKeepingGuard<ACE_Read_Guard<ACE_RW_Thread_Mutex>> {
public:
    ReadGuard(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns)
        : ErrnoKeepingGuard((noticeFork(), turns.letOneWriterPass(), mutex)) {}
};

/// The read side of a query that takes it a second time inside.
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
        : WriteGuard(mutex, turns, WriterTurns::Wait((noticeFork(), turns))) {}
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;
    // Runs before the base releases the lock.
    ~WriteGuard() { m_turns.endWriting(); }

private:
    WriteGuard(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns,
               const WriterTurns::Wait& /*untilAcquired*/)
        : ErrnoKeepingGuard(mutex), m_turns(turns) {
        m_turns.beginWriting();
    }

    WriterTurns& m_turns;
};

/// Copies a member under the read side of the mutex that guards it.
template <typename Member>
Member copyUnder(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns, const Member& member) {
    const ReadGuard guard(mutex, turns);
    return member;
}

/// Runs `step` and returns whether it completed. Drops every exception, except the unwinding of a
/// cancelled thread: dropping that terminates the process.
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
