// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/ForkCheck.h"
#include "locks/WriterHandoff.h"

#include <ace/Guard_T.h>
#include <ace/RW_Thread_Mutex.h>

#include <cerrno>
#include <new>

/// Locks are taken only here.
namespace Quarncommon {

/// The mutex of a class, its private member, and the hand-off to waiting writers.
template <typename Class>
class ClassLock {
public:
    static ACE_RW_Thread_Mutex& mutex() { return Class::m_pMutex; }
    static WriterHandoff& handoff() { return s_handoff; }

    /// The old mutex is not destroyed: that is undefined while it is locked.
    static void resetAfterFork() {
        s_handoff.resetAfterFork();
        new (&Class::m_pMutex) ACE_RW_Thread_Mutex;
    }

private:
    static inline constinit WriterHandoff s_handoff{};
};

/// A scoped lock that remembers whether it was acquired. If that or the release fails, the scope
/// runs without the lock and sets `errno` when it ends.
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

template <typename Class>
class ReadGuard : public ErrnoKeepingGuard<ACE_Read_Guard<ACE_RW_Thread_Mutex>> {
public:
    ReadGuard()
        : ErrnoKeepingGuard((noticeFork(), ClassLock<Class>::handoff().letOneWriterPass(),
                             ClassLock<Class>::mutex())) {}
};

/// The read side of a query that takes it a second time inside.
template <typename Class>
class OuterReadGuard : public ReadGuard<Class> {
public:
    OuterReadGuard() { WriterHandoff::beginReadingTwice(); }
    OuterReadGuard(const OuterReadGuard&) = delete;
    OuterReadGuard& operator=(const OuterReadGuard&) = delete;
    ~OuterReadGuard() { WriterHandoff::endReadingTwice(); }
};

template <typename Class>
class WriteGuard : public ErrnoKeepingGuard<ACE_Write_Guard<ACE_RW_Thread_Mutex>> {
public:
    WriteGuard() : WriteGuard(WriterHandoff::Wait((noticeFork(), ClassLock<Class>::handoff()))) {}
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;
    // Runs before the base releases the lock.
    ~WriteGuard() { ClassLock<Class>::handoff().endWriting(); }

private:
    explicit WriteGuard(const WriterHandoff::Wait& /*untilAcquired*/)
        : ErrnoKeepingGuard(ClassLock<Class>::mutex()) {
        ClassLock<Class>::handoff().beginWriting();
    }
};

template <typename Class, typename Member>
Member copyLocked(const Member& member) {
    const ReadGuard<Class> guard;
    return member;
}

} // namespace Quarncommon
