// SPDX-License-Identifier: Apache-2.0
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

/// The role reader: master and standby of the local tenancy, internal-service addresses, tenancy of
/// the local node. It owns the subscription to change events (SysConfReaderEvent.h).
///
/// One instance exists per process. Programs normally use SysConfReader_i, which forwards here.
///
/// Sources, read at each load and never in between (`<instance id>` is the value of
/// `PROCESS_INSTANCE_ID`; an unset variable is ""):
/// - `APP_CONF_FILE`: `"processes".<instance id>."nodeId"`
/// - `APP_ROOT` + "/etc/sysconf/nodelist.json": the addresses and tenancy of the local node
/// - `TOLM_ROOT` + "/etc/sysconf/nodelists.json": all nodes, their roles and addresses
///
/// Environment, shortages, forks and exit: see SysConfReader.
///
/// Threads. Any thread may call Instance(), Destory(), Reload() and the getters. No thread may use
/// a pointer from Instance() after Destory() has been called. Creation, loading and destruction
/// hold the write side of the class's lock, each getter the read side while it copies its result.
/// The Init steps take no lock: their callers hold it. If a lock call fails, its error number is
/// left in `errno` and the operation continues without the lock.
///
/// Failures. A file that is missing, unreadable or not valid JSON leaves its values unchanged; a
/// missing key makes them "". A value of the wrong type, or running out of memory, silently ends
/// the step; values that it has not assigned are unchanged.
class [[gnu::visibility("default")]] SysConfReaderImpl {
public:
    /// @name The instance
    /// @{

    /// Returns the role reader, never null. Created and loaded on first use, under the write lock.
    /// @throws std::bad_alloc, and what an event library throws from its subscription.
    static SysConfReaderImpl* Instance();

    /// Ends the subscription to change events and frees the role reader, under the write lock. Does
    /// nothing if there is none. First waits, without limit, for a change event that another thread
    /// is applying; later events are dropped. If this thread is applying one, returns at once, and
    /// the destruction follows when the event has been applied. Instance() on another thread waits,
    /// then creates a new role reader. Must not be called from an event library's entry points.
    static void Destory();

    /// Reloads SysConfReader (creating it if need be), then, under this class's write lock, this
    /// object. The two locks are never held together.
    /// @throws as Instance() does.
    void Reload();

    SysConfReaderImpl(const SysConfReaderImpl&) = delete;
    SysConfReaderImpl& operator=(const SysConfReaderImpl&) = delete;
    /// @}

    /// @name Answers
    /// Copies made under the read lock, "" if unknown.
    /// @throws std::bad_alloc
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
    /// For internal use; the caller holds the write lock. The five steps that read a file do not
    /// throw.
    /// @{

    /// All steps in their order: InitConsumer, InitLocalNodeId, InitLocalIp, InitAssignedToTenancy,
    /// InitMasterAndStandyNodeId, InitMasterAndStandyIp.
    void Init_i();

    /// Subscribes to "SysConfigEvent": does nothing if a subscription exists or is being made, or
    /// if `NO_EM_CLIENT` or `NO_EM_CLIENT_CONSUMER` is set to any non-empty text (also "0"). If
    /// there is no event library, if it lacks "EventConsumerCBInit", or if it refuses, the next
    /// load tries again. A library that has the entry point stays loaded until the process ends;
    /// one without it is closed.
    /// @throws what the event library throws; there is no subscription then.
    void InitConsumer();

    /// Own node id: `"processes".<instance id>."nodeId"` of the app config file.
    void InitLocalNodeId();

    /// Own internal-service address: GetInternalIp of the own node in the local node list.
    void InitLocalIp();

    /// Tenancy: `"nodeList".<own node id>."assignedToTenancy"` of the local node list.
    void InitAssignedToTenancy();

    /// Ids of the master and the standby node, from the manager node list: of the nodes whose
    /// "assignedToTenancy" equals the local tenancy (no tenancy equals no tenancy), the master has
    /// "hostType" "master" with "domain_node_type" "ACCESS_Master" in its "extAttr", the standby
    /// "standby" with "ACCESS_Backup", case-sensitively. The greatest id in byte order wins. A role
    /// without a candidate keeps the id of the previous load.
    void InitMasterAndStandyNodeId();

    /// Internal-service addresses of these two nodes (GetInternalIp), from the manager node list;
    /// "" for an id that is empty or no longer listed.
    void InitMasterAndStandyIp();
    /// @}

    /// @name Helpers of the steps
    /// @{

    /// Returns the "IP" of the first entry tagged "internal_service" among a node's "IPAddresses",
    /// else of the last one tagged "maintenance", else "". Tags match in any letter case.
    /// @throws std::bad_alloc, and Json::Exception for values of the wrong type.
    std::string GetInternalIp(const Json::Value& addresses) const;

    /// Value of `APP_ROOT`, read on each call, followed by "/etc/sysconf/nodelist.json".
    std::string GetNodeListFilePath() const;
    /// Value of `TOLM_ROOT`, read on each call, followed by "/etc/sysconf/nodelists.json".
    std::string GetManagerNodeListFilePath() const;
    /// File name of a dynamic library: "lib" + name + ".so".
    std::string GetDLLName(const std::string& name) const;
    /// @}

private:
    friend class SysConfReader;
    friend class SysConfReader_i;
    friend class ForkedChild;
    template <typename Class>
    friend class ClassLock;
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
    /// Subscribes again, after a discarded instance may have replaced the published one.
    [[gnu::visibility("hidden")]] static void subscribeAgain();
    /// The end of an operation that has loaded, if the thread holds no lock any more: applies an
    /// event that the load could not apply, and requests one if a load met a shortage.
    [[gnu::visibility("hidden")]] static void finishLoad();
    [[gnu::visibility("hidden")]] static void applyMissedEvents();
    [[gnu::visibility("hidden")]] static void requestRedelivery();
    /// Reloads both if `subscriber` is still the role reader. Throws if a load met a shortage.
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
