// SPDX-License-Identifier: Apache-2.0
#ifndef SYSCONFREADER_I_H
#define SYSCONFREADER_I_H

#include <ace/RW_Thread_Mutex.h>

#include <atomic>
#include <string>

namespace Quarncommon {

/// The public access to the node's role: four queries, forwarded to SysConfReaderImpl.
///
/// One facade exists per process, created on first use and freed only by Destory(). Each query goes
/// to the role reader, which is created if need be. SysConfReaderImpl documents the results.
///
/// Threads, environment, forks and exit: see SysConfReader. The facade's lock guards its creation
/// and destruction; a query takes only the role reader's read lock.
///
/// Failures. Unknown values are "". Creating an instance throws std::bad_alloc and what an event
/// library throws, copying a result throws std::bad_alloc; the locks are free then.
class [[gnu::visibility("default")]] SysConfReader_i {
public:
    /// @name The instance
    /// @{

    /// Returns the facade, never null. Creates it on first use, under its write lock; takes no lock
    /// if it exists. Does not create the role reader.
    /// @throws std::bad_alloc
    static SysConfReader_i* Instance();

    /// Destroys the facade and, by SysConfReaderImpl::Destory(), the role reader, which is created
    /// first if it does not exist. Does nothing if there is no facade. Holds the facade's write
    /// lock during the call. If this thread is applying a change event, the facade is destroyed at
    /// once and the role reader after the event. If creating the role reader throws, the process
    /// is terminated.
    static void Destory();

    SysConfReader_i(const SysConfReader_i&) = delete;
    SysConfReader_i& operator=(const SysConfReader_i&) = delete;
    /// @}

    /// @name Answers
    /// @{

    /// SysConfReaderImpl::GetLocalInternalServiceIP().
    std::string GetLocalInternalServiceIP() const;
    /// SysConfReaderImpl::GetMasterInternalServiceIP().
    std::string GetMasterInternalServiceIP() const;
    /// SysConfReaderImpl::GetStandbyInternalServiceIP().
    std::string GetStandbyInternalServiceIP() const;
    /// SysConfReaderImpl::GetProductName(): the tenancy of the local node.
    std::string GetProductName() const;
    /// @}

private:
    friend class ForkedChild;
    template <typename Class>
    friend class ClassLock;

    SysConfReader_i() = default;
    ~SysConfReader_i();

    /// For a destruction: creates a missing role reader and applies an event of its subscription.
    [[gnu::visibility("hidden")]] static void createRoleReader() noexcept;

    /// Null until the facade has been built.
    static std::atomic<SysConfReader_i*> m_pInstance;
    /// Guards creation and destruction of the facade.
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace Quarncommon

#endif // SYSCONFREADER_I_H
