// The library in a forked child. The child has one thread, the one that has forked; what the others
// held at that moment they hold for ever. A child of a process that reloads on an event's thread
// could not even count on exit() to come to its end, let alone on a query.

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "sysconfreader/WriterTurns.h"
#include "sysconfreaderimpl/ChangeEvents.h"

#include <json/value.h>

#include <mutex>
#include <new>
#include <pthread.h>

namespace Quarncommon {

class ForkedChild {
public:
    static void begin() {
        // An event library that forks in the middle of a subscription goes on in it, with locks
        // that it has still to release.
        if (WriterTurns::lockHeldHere()) { // GCOVR_EXCL_BR_LINE: as the next line
            return; // GCOVR_EXCL_LINE: in a child that must not exit, and so tells nobody
        }
        forgetEventsOfOtherThreads();
        startAnew<SysConfReader_i>();
        startAnew<SysConfReader>();
        startAnew<SysConfReaderImpl>();
        if (SysConfReader* reader = SysConfReader::m_pInstance.load()) {
            new (&reader->m_identityMutex) std::mutex;
        }
    }

private:
    /// Nobody holds the class's lock here, and nobody waits. An instance that another thread was
    /// changing is left as it lies, neither used nor destroyed.
    template <typename Class>
    static void startAnew() {
        if (turnsOf<Class>.writing()) {
            Class::m_pInstance = nullptr;
        }
        turnsOf<Class>.forgetOtherThreads();
        // There is no other way to free a lock of a thread that is gone: it is made once more,
        // where it stands.
        new (&Class::m_pMutex) ACE_RW_Thread_Mutex;
    }
};

namespace {

/// When the library is loaded. Memory that runs out there leaves children as they are.
[[maybe_unused]] const int g_registered = ::pthread_atfork(nullptr, nullptr, &ForkedChild::begin);

/// jsoncpp builds it when it is first needed, which must not be while another thread forks.
[[maybe_unused]] const Json::Value& g_null = Json::Value::nullSingleton();

} // namespace

} // namespace Quarncommon
