#include "sysconfreaderimpl/ChangeEvents.h"

#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "sysconfreader/Guards.h"
#include "sysconfreaderimpl/EventGate.h"

#include <QuarnCommonUtils.h>

#include <cstdlib>
#include <dlfcn.h>
#include <new>

namespace Quarncommon {

namespace {

constexpr const char* kEventLibrary = "eventcbutil";
/// What GetDLLName makes of it, for a destruction, which must not need memory.
constexpr const char* kEventLibraryFile = "libeventcbutil.so";

constinit EventGate g_eventGate;

constinit std::atomic<bool> g_turnedAwayAtExit{false};

constinit std::atomic<int> g_loaderUsers{0};
constinit std::atomic<bool> g_loaderLost{false};

/// A use of the dynamic loader. A child that is forked while another thread is in the middle of one
/// must do without: the loader's tables may be half changed there.
class LoaderUse {
public:
    LoaderUse() { ++g_loaderUsers; }
    LoaderUse(const LoaderUse&) = delete;
    LoaderUse& operator=(const LoaderUse&) = delete;
    ~LoaderUse() { --g_loaderUsers; }
};

bool isSet(const char* variable) {
    try {
        return !QuarnCommonUtils::Quarngetenv(variable).empty();
    } catch (const std::bad_alloc&) {
        // The copy is not needed to tell; a destruction comes to its end without memory too.
        const char* value = std::getenv(variable);
        return value != nullptr && *value != '\0';
    }
}

bool switchedOff() {
    return g_loaderLost || isSet("NO_EM_CLIENT") || isSet("NO_EM_CLIENT_CONSUMER");
}

/// From static destruction on no event is applied. Registered after everything that the library
/// builds at load time, and so run before any of that is destroyed. Not by a static object in here:
/// a child that is forked while another thread builds it would wait for that thread.
void turnEventsAwayAtExit() {
    if (!g_turnedAwayAtExit.exchange(true)) {
        std::atexit([] { g_eventGate.close(); });
    }
}

template <typename EntryPoint>
EntryPoint* entryPoint(void* library, const char* name) {
    return reinterpret_cast<EntryPoint*>(::dlsym(library, name));
}

} // namespace

void forgetEventsOfOtherThreads() {
    g_eventGate.forgetOtherThreads();
    // Who has said so may not have done so yet; to do it twice does no harm.
    g_turnedAwayAtExit = false;
    g_loaderLost = g_loaderLost || g_loaderUsers != 0;
    g_loaderUsers = 0;
}

std::string SysConfReaderImpl::GetDLLName(const std::string& name) const {
    return "lib" + name + ".so";
}

void SysConfReaderImpl::ensureSubscribed() {
    Instance();
    // Behind the gate the instance cannot be destroyed. Its lock is not taken: the caller holds the
    // main reader's, and no reload holds both. An instance that is being destroyed, or has been,
    // needs no subscription.
    const EventGate::Stay stay(g_eventGate);
    SysConfReaderImpl* reader =
        stay.admitted() ? m_pInstance.load(std::memory_order_acquire) : nullptr;
    if (reader != nullptr) {
        reader->InitConsumer();
    }
}

void SysConfReaderImpl::InitConsumer() {
    if (m_consumerInited || switchedOff() || m_consumerInited.exchange(true)) {
        return;
    }
    // Until the subscription stands, every way out leaves the next load free to try again, an
    // exception of the event library included.
    struct Attempt {
        std::atomic<bool>& inited;
        bool made;
        ~Attempt() {
            if (!made) {
                inited = false;
            }
        }
    } attempt{m_consumerInited, false};

    const LoaderUse inUse;
    void* library = ::dlopen(GetDLLName(kEventLibrary).c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (library == nullptr) {
        return;
    }
    auto* init = entryPoint<EventConsumerCBInitFunction>(library, "EventConsumerCBInit");
    if (init == nullptr) {
        ::dlclose(library);
        return;
    }
    const EventConsumerCallback callback{&SysConfReaderEventProcessCB, this};
    // The handle is never closed from here on: the event library's threads may run its code for as
    // long as the process lives, and an exception of its own needs that code too.
    attempt.made = init(kSysConfigEvent, "", &callback) >= 0;
    turnEventsAwayAtExit();
}

void SysConfReaderImpl::endSubscription() {
    if (!m_consumerInited || switchedOff()) {
        return;
    }
    const LoaderUse inUse;
    // A second reference to the library that is loaded already, given back below.
    void* library = ::dlopen(kEventLibraryFile, RTLD_LAZY | RTLD_GLOBAL);
    if (library == nullptr) {
        return;
    }
    if (auto* fini = entryPoint<EventConsumerCBFiniFunction>(library, "EventConsumerCBFini")) {
        fini();
        m_consumerInited = false;
    }
    ::dlclose(library);
}

SysConfReaderImpl::~SysConfReaderImpl() {
    endSubscription();
}

void SysConfReaderImpl::Destory() {
    EventGate::Closure closed(g_eventGate);
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReaderImpl>);
    delete m_pInstance.exchange(nullptr);
    // Still under the lock: an instance that another thread creates next must miss no event.
    closed.end();
}

void SysConfReaderImpl::applyChange(const void* subscriber) {
    const EventGate::Stay stay(g_eventGate);
    if (!stay.admitted()) {
        return;
    }
    SysConfReaderImpl* reader = nullptr;
    {
        // Waits for a first load to publish the instance that it has subscribed. The user data is
        // only compared: it may belong to an instance that is long gone.
        const ReadGuard guard(m_pMutex, turnsOf<SysConfReaderImpl>);
        reader = m_pInstance.load(std::memory_order_acquire);
    }
    if (reader != nullptr && reader == subscriber) {
        reader->Reload();
    }
}

} // namespace Quarncommon

int SysConfReaderEventProcessCB(const std::string& eventName, const std::string& /*second*/,
                                const std::string& /*third*/, void* userData) {
    using namespace Quarncommon;
    if (eventName != kSysConfigEvent || userData == nullptr) {
        return -1;
    }
    return completes([&] { SysConfReaderImpl::applyChange(userData); }) ? 0 : -1;
}
