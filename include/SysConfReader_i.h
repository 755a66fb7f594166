#ifndef SYSCONFREADER_I_H
#define SYSCONFREADER_I_H

#include <ace/RW_Thread_Mutex.h>

#include <atomic>
#include <string>

namespace Quarncommon {

/// The published entry to the node's role: four questions, forwarded to SysConfReaderImpl.
///
/// One facade exists per process, created on first use and freed by Destory() only. It holds no
/// answers of its own; each question goes to the role reader, which is created and loaded if it
/// does not exist, and the answer is a copy. What the answers are made of is told there.
///
/// Threads: every operation may be called from any thread, but no thread may use a pointer from
/// Instance() once Destory() has been called. The facade's lock guards its creation and
/// destruction only; a question takes just the role reader's read lock. When a lock call fails,
/// its error number is left in `errno` and the operation goes on without that lock. In a forked
/// child everything may be called that SysConfReader.h says. Failures: unknown answers are "";
/// exceptions come only from creating an instance (memory that runs out, an event library that
/// throws) and leave no lock behind.
class [[gnu::visibility("default")]] SysConfReader_i {
public:
    /// The facade, created on first use; never null. Does not create the role reader. Takes no
    /// lock when the facade exists, else its write lock while creating.
    /// @throws std::bad_alloc
    static SysConfReader_i* Instance();

    /// Destroys the facade and with it the role reader, which ends the subscription to change
    /// events. A role reader that did not exist is created and loaded first, then destroyed. Does
    /// nothing when there is no facade. Holds the facade's write lock throughout; the role
    /// reader's is taken inside it. An exception of the role reader's creation ends the process.
    static void Destory();

    SysConfReader_i(const SysConfReader_i&) = delete;
    SysConfReader_i& operator=(const SysConfReader_i&) = delete;

    /// SysConfReaderImpl::GetLocalInternalServiceIP().
    std::string GetLocalInternalServiceIP() const;
    /// SysConfReaderImpl::GetMasterInternalServiceIP().
    std::string GetMasterInternalServiceIP() const;
    /// SysConfReaderImpl::GetStandbyInternalServiceIP().
    std::string GetStandbyInternalServiceIP() const;
    /// SysConfReaderImpl::GetProductName(): the tenancy of the local node.
    std::string GetProductName() const;

private:
    friend class ForkedChild;

    SysConfReader_i() = default;
    ~SysConfReader_i();

    /// Null until the facade has been built.
    static std::atomic<SysConfReader_i*> m_pInstance;
    /// Guards creation and destruction of the facade.
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace Quarncommon

#endif // SYSCONFREADER_I_H
