#ifndef SYSCONFREADERIMPL_H
#define SYSCONFREADERIMPL_H

#include "SysConfReaderEvent.h"

#include <ace/RW_Thread_Mutex.h>
#include <json/value.h>

#include <atomic>
#include <string>

namespace Quarncommon {

class SysConfReader;
class SysConfReader_i;

/// The role reader: which node of the local tenancy is master, which is standby, over which
/// addresses the cluster's nodes talk to each other, and which tenancy the local node belongs to.
/// It also owns the subscription to change events (SysConfReaderEvent.h).
///
/// One instance exists per process, created and loaded on first use, reloaded in place by Reload()
/// and freed by Destory() only. The next Instance() after that builds and loads a fresh one.
/// Callers outside the library normally ask SysConfReader_i, which forwards here.
///
/// Sources, read at each load and never in between:
/// - `APP_CONF_FILE`: `"processes".<instance id>."nodeId"`
/// - `APP_ROOT` + "/etc/sysconf/nodelist.json": the local node's addresses and tenancy
/// - `TOLM_ROOT` + "/etc/sysconf/nodelists.json": all nodes, their roles and addresses
///
/// where `<instance id>` is the value of `PROCESS_INSTANCE_ID` and an unset variable is "".
///
/// Threads: any thread may call Instance(), Destory(), Reload() and the getters. The class's
/// reader/writer lock is held for writing during creation, the loading part of Reload() and
/// destruction, and for reading by each getter while it copies its answer. The Init steps take no
/// lock: their callers hold it for writing. A pointer from Instance() must not be used once
/// Destory() has been called. In a forked child everything may be called that SysConfReader.h says.
/// Failures: a file that is missing, unreadable or not valid JSON leaves the answers that come
/// from it as they were; a missing key makes them ""; a value of the wrong type ends the step that
/// met it, silently, and what the step had not yet assigned stays as it was. When a lock call
/// fails, its error number is left in `errno` and the operation goes on without the lock.
/// Cost: the getters copy one string. A load reads four files: app config once, the local node
/// list twice, the manager node list twice, each step its own.
class [[gnu::visibility("default")]] SysConfReaderImpl {
public:
    /// The role reader, created and loaded on first use; never null. Takes no lock when it exists,
    /// else the write lock for the whole creation. It becomes visible only when it is loaded.
    /// @throws std::bad_alloc, and whatever an event library throws out of its subscription; the
    ///         lock is then free, nothing is published, and the next call tries again.
    static SysConfReaderImpl* Instance();

    /// Ends the subscription to change events (if there is one and the environment does not
    /// switch events off by now) and frees the role reader; without one it does nothing. Holds the
    /// write lock throughout. Waits first for a change event that is being applied on another
    /// thread; one that arrives from then on is dropped. Must not be called from an event
    /// library's entry points.
    static void Destory();

    /// Reloads SysConfReader (creating it if need be), then, under this class's write lock, this
    /// object. The two locks are never held together.
    /// @throws as Instance() does.
    void Reload();

    SysConfReaderImpl(const SysConfReaderImpl&) = delete;
    SysConfReaderImpl& operator=(const SysConfReaderImpl&) = delete;

    /// @name Answers
    /// Each is a copy made under the read lock, "" when unknown; only memory that runs out throws.
    /// @{

    /// Internal-service address of the local node, from the local node list (see GetInternalIp).
    std::string GetLocalInternalServiceIP() const;
    /// Internal-service address of the master node of the local tenancy, from the manager list.
    std::string GetMasterInternalServiceIP() const;
    /// Internal-service address of the standby node of the local tenancy, from the manager list.
    std::string GetStandbyInternalServiceIP() const;
    /// The tenancy of the local node: its "assignedToTenancy" in the local node list.
    std::string GetProductName() const;
    /// @}

    /// @name Loading steps
    /// For the library's own use; the caller holds the write lock. None of the five steps that
    /// read a file throws.
    /// @{

    /// All steps in their order: InitConsumer, InitLocalNodeId, InitLocalIp, InitAssignedToTenancy,
    /// InitMasterAndStandyNodeId, InitMasterAndStandyIp.
    void Init_i();

    /// Subscribes to "SysConfigEvent", once: does nothing while a subscription is made or being
    /// made, or when `NO_EM_CLIENT` or `NO_EM_CLIENT_CONSUMER` is set to any non-empty text ("0"
    /// and "false" included). No event library, one without "EventConsumerCBInit", or a refusal
    /// leaves no subscription, and the next load tries again. A library that refuses or accepts
    /// stays loaded for the life of the process; one without the entry point is closed.
    /// @throws whatever the event library throws; there is then no subscription.
    void InitConsumer();

    /// Own node id: `"processes".<instance id>."nodeId"` of the app config file.
    void InitLocalNodeId();

    /// Own internal-service address: GetInternalIp of the own node's "IPAddresses" in the local
    /// node list.
    void InitLocalIp();

    /// Tenancy: `"nodeList".<own node id>."assignedToTenancy"` of the local node list.
    void InitAssignedToTenancy();

    /// Ids of the master and the standby node, from the manager node list: of the nodes whose
    /// "assignedToTenancy" equals the local tenancy (no tenancy equals no tenancy), the master has
    /// "hostType" "master" with "domain_node_type" "ACCESS_Master" in its "extAttr", the standby
    /// "standby" with "ACCESS_Backup", letter case included. Of several candidates the one with the
    /// greatest id by bytes wins. A role without candidate keeps the id of the load before.
    void InitMasterAndStandyNodeId();

    /// Internal-service addresses of these two nodes (GetInternalIp), from the manager node list;
    /// "" for an id that is empty or no longer listed.
    void InitMasterAndStandyIp();
    /// @}

    /// Internal-service address among a node's "IPAddresses": the "IP" of the first entry tagged
    /// "internal_service", else of the last one tagged "maintenance", else "". Tags are compared
    /// after lower-casing; a "usage" that is a plain string has no tags. Takes no lock.
    /// @throws Json::Exception for values of the wrong type.
    std::string GetInternalIp(const Json::Value& addresses) const;

    /// Value of `APP_ROOT` followed by "/etc/sysconf/nodelist.json", read anew on each call.
    std::string GetNodeListFilePath() const;
    /// Value of `TOLM_ROOT` followed by "/etc/sysconf/nodelists.json", read anew on each call.
    std::string GetManagerNodeListFilePath() const;
    /// File name of a dynamic library: "lib" + name + ".so".
    std::string GetDLLName(const std::string& name) const;

private:
    friend class SysConfReader;
    friend class SysConfReader_i;
    friend class ForkedChild;
    friend int ::SysConfReaderEventProcessCB(const std::string& eventName,
                                             const std::string& second, const std::string& third,
                                             void* userData);

    SysConfReaderImpl() = default;
    ~SysConfReaderImpl();

    /// Creates, loads and publishes the instance if there is none.
    [[gnu::visibility("hidden")]] static SysConfReaderImpl* create();
    /// Reloads the instance if there is one.
    [[gnu::visibility("hidden")]] static void reloadExisting();
    /// The first step of SysConfReader's loader: creates the instance and tries to subscribe.
    static void ensureSubscribed();
    /// Subscribes the published instance again, after a discarded one may have replaced it in the
    /// event library.
    [[gnu::visibility("hidden")]] static void subscribeAgain();
    /// The end of an operation that has loaded. If the thread holds no lock any more, applies an
    /// event that the load could not apply, and asks the event library to deliver again if a load
    /// met a shortage.
    [[gnu::visibility("hidden")]] static void finishLoad();
    [[gnu::visibility("hidden")]] static void requestRedelivery();
    /// Reloads both singletons if `subscriber` is still the role reader. Throws if a load met a
    /// shortage.
    static void applyChange(const void* subscriber);
    void endSubscription();
    /// Copies one answer of the instance that exists under the read lock, creating one if there is
    /// none: for callers whose pointer another thread might destroy.
    static std::string currentAnswer(std::string SysConfReaderImpl::*answer);

    std::string m_masterNodeId;
    std::string m_standbyNodeId;
    std::string m_localNodeId;
    std::string m_productName;
    std::string m_masterInternalServiceIP;
    std::string m_standbyInternalServiceIP;
    std::string m_localInternalServiceIP;
    /// True while a subscription exists or is being made.
    std::atomic<bool> m_consumerInited{false};

    /// Null until an instance has been loaded completely.
    static std::atomic<SysConfReaderImpl*> m_pInstance;
    /// Guards m_pInstance and every member of the instance.
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace Quarncommon

#endif // SYSCONFREADERIMPL_H
