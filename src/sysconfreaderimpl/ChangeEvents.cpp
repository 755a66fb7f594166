// SPDX-License-Identifier: Apache-2.0
#include "sysconfreaderimpl/ChangeEvents.h"

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "base/Exceptions.h"
#include "config/Lists.h"
#include "config/Shortages.h"
#include "locks/ClassLock.h"
#include "status/LoadNotices.h"
#include "status/StatusBoard.h"
#include "sysconfreaderimpl/EventGate.h"

#include <QuarnCommonUtils.h>

#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <utility>

namespace Quarncommon {

namespace {

constexpr const char* kEventLibrary = "eventcbutil";
/// Not by GetDLLName: a destruction must not need memory.
constexpr const char* kEventLibraryFile = "libeventcbutil.so";

constexpr Clock::duration kExitLimit = std::chrono::seconds(1);

constinit EventGate g_eventGate;

constinit std::atomic<bool> g_closedAtExit{false};

/// An optional entry point of the event library. Null without a subscription.
constinit std::atomic<EventConsumerCBRedeliverFunction*> g_redeliver{nullptr};

constinit std::atomic<int> g_loaderUsers{0};
constinit std::atomic<bool> g_loaderLost{false};

/// A child that is forked while another thread is inside one must not use the dynamic loader.
class LoaderUse {
public:
    LoaderUse() { ++g_loaderUsers; }
    LoaderUse(const LoaderUse&) = delete;
    LoaderUse& operator=(const LoaderUse&) = delete;
    ~LoaderUse() { --g_loaderUsers; }
};

/// The events that this thread is applying; an event library may nest them.
constinit thread_local unsigned int t_applying = 0;
using Destruction = void (*)();
constinit thread_local Destruction t_postponed = nullptr;

class Applying {
public:
    Applying() { ++t_applying; }
    Applying(const Applying&) = delete;
    Applying& operator=(const Applying&) = delete;
    ~Applying() { --t_applying; }
};

/// Thrown at the end of an event whose reload met a shortage or an exception.
struct NotApplied {};

bool isSet(const char* variable) {
    try {
        return !QuarnCommonUtils::Quarngetenv(variable).empty();
    } catch (const std::bad_alloc&) {
        // A destruction must work without memory.
        const char* value = std::getenv(variable);
        return value != nullptr && *value != '\0';
    }
}

bool switchedOff() {
    return g_loaderLost || isSet("NO_EM_CLIENT") || isSet("NO_EM_CLIENT_CONSUMER");
}

/// Registered after all static objects of the library were built, so it runs before their
/// destructors. Not a local static object, for which a forked child might wait.
void closeGateAtExit() {
    if (!g_closedAtExit.exchange(true)) {
        std::atexit([] { g_eventGate.close(kExitLimit); });
    }
}

template <typename EntryPoint>
EntryPoint* entryPoint(void* library, const char* name) {
    return reinterpret_cast<EntryPoint*>(::dlsym(library, name));
}

/// The caller reports the shortage.
bool takeUnreportedShortage() {
    const bool reader = unreportedShortage<SysConfReader>.exchange(false);
    return unreportedShortage<SysConfReaderImpl>.exchange(false) || reader;
}

/// The event has returned 0. If the reload throws, another delivery is requested.
template <typename Class>
void reloadIfMissed(void (*reloadExisting)()) {
    if (missedEvent<Class> && !runDroppingExceptions(reloadExisting)) {
        unreportedShortage<Class> = true;
    }
}

} // namespace

void resetEventsAfterFork() {
    g_eventGate.resetAfterFork();
    g_redeliver = nullptr; // The child has no subscription.
    // The flag may be set before the handler is registered. Registering twice is harmless.
    g_closedAtExit = false;
    g_loaderLost = g_loaderLost || g_loaderUsers != 0;
    g_loaderUsers = 0;
}

bool postponedUntilApplied(void (*destroy)()) {
    if (t_applying == 0) {
        return false;
    }
    // The destruction of the main reader includes that of the role reader.
    if (t_postponed != &SysConfReader::Destory) {
        t_postponed = destroy;
    }
    return true;
}

std::string SysConfReaderImpl::GetDLLName(const std::string& name) const {
    return "lib" + name + ".so";
}

void SysConfReaderImpl::ensureSubscribed() {
    Instance();
    // Inside the gate the instance cannot be destroyed. Its lock is not taken: the caller holds the
    // main reader's lock, and no reload holds both.
    const EventGate::Stay stay(g_eventGate);
    SysConfReaderImpl* reader =
        stay.admitted() ? m_pInstance.load(std::memory_order_acquire) : nullptr;
    if (reader != nullptr) {
        reader->InitConsumer();
    }
}

void SysConfReaderImpl::subscribeAgain() {
    const EventGate::Stay stay(g_eventGate);
    SysConfReaderImpl* reader =
        stay.admitted() ? m_pInstance.load(std::memory_order_acquire) : nullptr;
    if (reader != nullptr) {
        reader->m_consumerInited = false;
        reader->InitConsumer();
        // Events of the time between the two subscriptions were dropped.
        missedEvent<SysConfReader> = true;
        missedEvent<SysConfReaderImpl> = true;
    }
}

void SysConfReaderImpl::InitConsumer() {
    using Subscription = SysConfReaderStatus::Subscription;
    if (m_consumerInited) {
        return;
    }
    if (switchedOff()) {
        status::setSubscription(Subscription::SwitchedOff);
        return;
    }
    if (m_consumerInited.exchange(true)) {
        return;
    }
    const LoaderUse inUse;
    // If no subscription is made, also after an exception, the next load tries again.
    struct Attempt {
        std::atomic<bool>& inited;
        Subscription result = Subscription::NoLibrary;
        void* library = nullptr;
        ~Attempt() {
            if (result != Subscription::Subscribed) {
                inited = false;
            }
            status::setSubscription(result, library);
            if (result == Subscription::NoEntryPoint) {
                ::dlclose(library);
            }
        }
    } attempt{m_consumerInited};

    void* library = ::dlopen(GetDLLName(kEventLibrary).c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (library == nullptr) {
        return;
    }
    attempt.library = library;
    auto* init = entryPoint<EventConsumerCBInitFunction>(library, "EventConsumerCBInit");
    if (init == nullptr) {
        attempt.result = Subscription::NoEntryPoint;
        return;
    }
    attempt.result = Subscription::Refused;
    const EventConsumerCallback callback{&SysConfReaderEventProcessCB, this};
    // The handle is never closed: threads of the event library may run its code until the end.
    if (init(std::string(kChangeEvent), "", &callback) >= 0) {
        attempt.result = Subscription::Subscribed;
        g_redeliver =
            entryPoint<EventConsumerCBRedeliverFunction>(library, "EventConsumerCBRedeliver");
    }
    closeGateAtExit();
}

void SysConfReaderImpl::endSubscription() {
    g_redeliver = nullptr;
    if (!m_consumerInited || switchedOff()) {
        return;
    }
    const LoaderUse inUse;
    // A second reference, closed below.
    void* library = ::dlopen(kEventLibraryFile, RTLD_LAZY | RTLD_GLOBAL);
    if (library == nullptr) {
        return;
    }
    if (auto* fini = entryPoint<EventConsumerCBFiniFunction>(library, "EventConsumerCBFini")) {
        fini();
        m_consumerInited = false;
        status::setSubscription(SysConfReaderStatus::Subscription::None);
    }
    ::dlclose(library);
}

SysConfReaderImpl::~SysConfReaderImpl() {
    endSubscription();
}

void SysConfReaderImpl::Destory() {
    if (postponedUntilApplied(&SysConfReaderImpl::Destory)) {
        return;
    }
    EventGate::Closure closed(g_eventGate);
    const WriteGuard<SysConfReaderImpl> guard;
    // Unpublished first: Instance() reads the pointer without the lock.
    delete m_pInstance.exchange(nullptr);
    config::forgetLists();
    // Still under the lock: an instance that another thread creates next must miss no event.
    closed.end();
}

void SysConfReaderImpl::applyChange(const void* subscriber) {
    const EventGate::Stay stay(g_eventGate);
    if (!stay.admitted()) {
        status::countEvent(&SysConfReaderStatus::eventsDropped);
        return;
    }
    const Applying applying;
    SysConfReaderImpl* reader = nullptr;
    {
        // Waits for a first load to publish its instance. The user data is only compared.
        const ReadGuard<SysConfReaderImpl> guard;
        reader = m_pInstance.load(std::memory_order_acquire);
    }
    if (reader == nullptr) {
        // Inside a subscription, or because a lock call failed, a first load may still be running.
        // Looks again after setting the flags: that load reads them after publishing its instance.
        missedEvent<SysConfReader> = true;
        missedEvent<SysConfReaderImpl> = true;
        reader = m_pInstance.load();
    }
    if (reader == nullptr || reader != subscriber) {
        status::countEvent(&SysConfReaderStatus::eventsDropped);
        return;
    }
    const bool applied =
        runDroppingExceptions([&] { reader->Reload(); }) && !takeUnreportedShortage();
    if (applied) { // before the announcement
        status::countEvent(&SysConfReaderStatus::eventsApplied);
    }
    // Inside the gate: see docs/concurrency.md.
    status::announceLoads();
    if (!applied || takeUnreportedShortage()) { // the second one of a callback
        throw NotApplied();
    }
}

void SysConfReaderImpl::applyMissedEvents() {
    reloadIfMissed<SysConfReader>(&SysConfReader::reloadExisting);
    reloadIfMissed<SysConfReaderImpl>(&reloadExisting);
}

void SysConfReaderImpl::finishLoad() {
    if (WriterHandoff::lockHeldHere() || t_applying != 0) {
        return; // The operation that this load is part of calls again.
    }
    applyMissedEvents();
    requestRedelivery();
    status::announceLoads();
}

void SysConfReaderImpl::requestRedelivery() {
    // Inside the gate the subscription does not end.
    const EventGate::Stay stay(g_eventGate);
    SysConfReaderImpl* reader =
        stay.admitted() ? m_pInstance.load(std::memory_order_acquire) : nullptr;
    EventConsumerCBRedeliverFunction* redeliver = g_redeliver;
    if (reader != nullptr && redeliver != nullptr && takeUnreportedShortage()) {
        const EventConsumerCallback callback{&SysConfReaderEventProcessCB, reader};
        runDroppingExceptions([&] { redeliver(&callback); });
    }
}

} // namespace Quarncommon

int SysConfReaderEventProcessCB(const std::string& eventName, const std::string& /*second*/,
                                const std::string& /*third*/, void* userData) {
    using namespace Quarncommon;
    if (eventName != kChangeEvent || userData == nullptr) {
        status::countEvent(&SysConfReaderStatus::eventsDropped);
        return -1;
    }
    const bool applied = runDroppingExceptions([&] { SysConfReaderImpl::applyChange(userData); });
    if (!applied) {
        status::countEvent(&SysConfReaderStatus::eventsFailed);
    }
    if (t_applying == 0 && t_postponed != nullptr) {
        runDroppingExceptions([] { std::exchange(t_postponed, nullptr)(); });
    }
    return applied ? 0 : -1;
}
