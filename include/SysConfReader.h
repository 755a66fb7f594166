// SPDX-License-Identifier: Apache-2.0
#ifndef SYSCONFREADER_H
#define SYSCONFREADER_H

#include <ace/RW_Thread_Mutex.h>
#include <json/value.h>

#include <atomic>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace Quarncommon {

/// The configuration reader: where this process runs, its addresses and ports, and its databases.
///
/// One instance exists per process. It is created and loaded on first use, reloaded in place by
/// Reload() and by change events (SysConfReaderEvent.h), and freed only by Destory(); the next
/// Instance() builds and loads a new one.
///
/// Sources:
/// - app config file: the path in `APP_CONF_FILE`. `<instance>` below is the member of "processes"
///   named by the value of `PROCESS_INSTANCE_ID`.
/// - node list: value of `APP_ROOT` followed by "/etc/sysconf/nodelist.json"
/// - manager node list: value of `TOLM_ROOT` followed by "/etc/sysconf/nodelists.json"
///
/// An unset variable reads as "" unless an operation says otherwise. Paths are concatenated
/// verbatim. A file is parsed only if it is regular, can be read completely, and is one valid JSON
/// text. Address queries read their file on every call and parse it if its bytes have changed;
/// until Destory(), up to 2.5 times the size of each list is kept for that. All other values are
/// those of the last load.
///
/// **Do not call setenv(), putenv() or unsetenv() while another thread may be in this library:
/// POSIX allows such a call to crash the reader.** With change events, a reload may run at any
/// time. Set all variables before the first use, or disable change events (`NO_EM_CLIENT`).
///
/// Nodes. The own node is the member of "nodeList" named by `<instance>."nodeId"`. The float node
/// is the own node, or, on a node whose `"extAttr"."hostType"` is "standby", the node whose service
/// address this host has (see getSourceNodeId). Both ids are determined by the load.
///
/// Tags. The "usage" of an address entry is an array of tags, which are lower-cased byte by byte
/// (`tolower`, in the current C locale) before they are compared. A plain string there has none.
///
/// Threads. Any thread may call any operation. No thread may use a pointer from Instance() after
/// Destory() has been called. "Read lock" below means that the read side of the class's one
/// reader/writer lock is held for the whole call, which waits for a load and runs beside other
/// queries. Creation, Reload() and Destory() hold the write side; a waiting writer takes precedence
/// within limits. If a lock call fails, its error number is left in `errno` and the operation
/// continues without the lock.
///
/// Shortages of memory, descriptors or storage, forks, exit: docs/embed.md. Queries are answered
/// until the process has ended; dlclose() never unloads the library.
///
/// Ownership. Results are copies. Output parameters belong to the caller; they are appended to or
/// updated, never cleared, unless an operation says otherwise.
///
/// Failures. Bad configuration is never reported: the result is "" or 0, or what an operation says.
/// "Never throws": on any internal failure, including out of memory, the documented fallback is
/// returned. Every other operation throws std::bad_alloc if memory for its result runs out. The
/// lock is free after every call, also after an exception.
class [[gnu::visibility("default")]] SysConfReader {
public:
    /// @name The instance
    /// @{

    /// Returns the reader, never null. Creates and loads it on first use, under the write lock;
    /// takes no lock if it exists. Concurrent first calls return the same pointer from one load.
    /// Also creates the role reader (SysConfReaderImpl), which subscribes to change events.
    /// @throws std::bad_alloc, and what an event library throws from its subscription.
    static SysConfReader* Instance();

    /// Destroys the role reader (after creating it if it does not exist), which ends the
    /// subscription to change events, and then, under the write lock, this reader. During a change
    /// event it waits or is postponed like SysConfReaderImpl::Destory().
    /// @throws as SysConfReaderImpl::Instance() does; nothing is destroyed then.
    static void Destory();

    /// Clears the databases and runs the loader again, under the write lock. If the app config file
    /// does not parse, there are no databases; addresses, ports and ids keep their values.
    /// @throws what an event library throws. Only the databases have changed then.
    void Reload();

    /// The loader, for internal use; the caller holds the write lock. Subscribes to change events
    /// unless that is done. Reads the databases, addresses, ports and the own node id from the app
    /// config file, then host type, float node id and host tag from the node list. Skips a file
    /// that does not parse. A value of the wrong type, or running out of memory, ends the loader
    /// silently: later values keep their previous contents.
    /// @throws what subscribing throws, and std::bad_alloc before any file is read.
    void init_i();

    SysConfReader(const SysConfReader&) = delete;
    SysConfReader& operator=(const SysConfReader&) = delete;
    /// @}

    /// @name Loaded values
    /// Read lock. 0 or "" if the last load found none. A port must be a number in the file; one
    /// given as text ends the load (see init_i).
    /// @{

    /// `<instance>."local"."port"`.
    int getLocalPort();
    /// `<instance>."CORBA"."port"`.
    int getCorbaPort();
    /// `<instance>."CORBA_SSL"."port"`.
    int getCorbaSSLPort();
    /// `<instance>."wss"."port"`: secure web-socket port.
    int GetWssPort();
    /// `<instance>."wss"."ip"`: secure web-socket address.
    std::string GetWssIPAddress();
    /// `<instance>."local"."ip"`.
    std::string getLocalhostIPAddress();
    /// Maintenance address of this process, the "ip" under "IR" of its `<instance>`.
    std::string getMaintenanceIPAddress();
    /// Host tag of the float node, its "HOSTID" under "extAttr" in the node list.
    std::string getLocalHostTagName();
    /// Id of the float node.
    std::string getFloatNodeId();
    /// @}

    /// @name Roles
    /// Forwarded to SysConfReader_i, which creates itself and the role reader on first use. No lock
    /// of this class.
    /// @{

    /// Internal-service address of the master node of the local tenancy.
    std::string GetMasterInternalServiceIP() const;
    /// Internal-service address of the standby node of the local tenancy.
    std::string GetStandbyInternalServiceIP() const;
    /// @}

    /// @name The install root
    /// @{

    /// Returns the value of `APP_ROOT`, "" if unset. Reads the variable on each call. No lock.
    std::string GetAppRoot();
    /// @}

    /// @name Databases
    /// The entries of "databases" in the app config file, from the last load. A database is
    /// normally an array of connection entries; `index` starts at 0. Names are compared byte by
    /// byte. Read lock. An unknown name gives -1 or "". Inside a known database the results are
    /// jsoncpp's: an index past the end, or a field that is absent or null, gives 0 or "".
    /// @throws Json::Exception if the database is neither an array nor null, the entry neither an
    ///         object nor null, or the field not convertible to the type of the result.
    /// @{

    /// Replaces `info` by the whole value of the database, of any type, and returns 0. For an
    /// unknown name returns -1 and leaves `info` unchanged.
    int getDBInfo(const std::string& name, Json::Value& info);
    /// Replaces `all` by all databases, by name, and returns 0. Without memory, `all` is unchanged.
    int getAllDBInfo(std::map<std::string, Json::Value> & all);
    /// "accessPort": the port on which the database is reached. Unknown name: -1.
    int getDBAccessPort(const std::string& name, unsigned int index);
    /// "type".
    std::string getDBType(const std::string& name, unsigned int index);
    /// "user": login user name.
    std::string getDBUserName(const std::string& name, unsigned int index);
    /// "serviceName".
    std::string getDBServiceName(const std::string& name, unsigned int index);
    /// "passwd": login password, verbatim.
    std::string getDBPassword(const std::string& name, unsigned int index);
    /// "serverName".
    std::string getDBServerName(const std::string& name, unsigned int index);
    /// "accessHost": host address to connect to.
    std::string getDBAccessHost(const std::string& name, unsigned int index);
    /// `"instanceExt"."lib"`: client library of the database.
    std::string getDBLib(const std::string& name, unsigned int index);
    /// @}

    /// @name One address of this node
    /// From the node list, read on each call. Read lock, file reading included. Never throws.
    /// @{

    /// Returns the "IP" of the first address entry, in file order, that has the tag `usage` (in any
    /// letter case, compared whole): for "maintenance" of the own node, for every other tag of the
    /// float node. "" if that entry has no "IP", if there is no such entry, if the list does not
    /// parse, or if a value of the wrong type comes before it.
    std::string getLocalIPByUsage(const std::string& usage);
    /// getLocalIPByUsage("maintenance"): always that of the own node.
    std::string getLocalMaintenanceIP();
    /// getLocalIPByUsage("service"); if that is "", getMaintenanceIPAddress(), under a second,
    /// separate read lock.
    std::string getLocalServiceIP();
    /// getLocalIPByUsage("service2"). No fallback.
    std::string getLocalService2IP();
    /// @}

    /// @name Families of numbered addresses of the float node
    /// From the node list, read on each call. No lock: they do not wait for a reload, and use the
    /// float node from before or after it. Never throw: an error ends the walk.
    /// @{

    /// Collects the addresses whose tag contains `usagePrefix`, and the node's service addresses.
    ///
    /// @param usagePrefix Searched for, verbatim, in the lower-cased tag: a prefix with a capital
    ///        letter is never found, an empty one is found in every tag.
    /// @param indexedIPs Receives number -> "IP" (even if that is empty) for each tag that contains
    ///        the prefix. The number is what `strtol` reads in base 10 from the tag, starting at
    ///        the position equal to the prefix's length, truncated to 32 bits: "northbound" is 0,
    ///        "northbound2" is 2. The first address for a number wins. Keys that exist before the
    ///        call are never overwritten.
    /// @param serviceIP,service2IP Receive the "IP" of the last entry tagged "service" or
    ///        "service2", among tags that do not contain the prefix; otherwise unchanged.
    ///
    /// "IPAddresses" and "usage" may also be objects, whose members are taken in key order. A list
    /// that does not parse changes nothing; an error keeps what was collected before it.
    void getLocalNodeIPs(const std::string& usagePrefix, std::map<int, std::string>& indexedIPs,
                         std::string& serviceIP, std::string& service2IP);

    /// Collects the southbound addresses by tag.
    ///
    /// @param usageIPs First gets the keys "southbound" and "southbound2" ... "southbound1024",
    ///        each set to ""; there is no "southbound1". Then every tag that is a key of the map,
    ///        including keys that the caller added, sets its value to the entry's "IP"; the last
    ///        entry wins. If no tag was a key, "service" is set to the last address with that tag,
    ///        or to "", and "service2" is set likewise if there is a non-empty one.
    ///
    /// "IPAddresses" and "usage" must be arrays. If the list does not parse, "service" is set to
    /// "". If a value of the wrong type ends the walk, "service" is set to the service address seen
    /// so far, whether tags matched or not. If a map from an earlier call already has the key
    /// "service", that tag is a match like any other.
    void getLocalNodeIPs(std::map<std::string, std::string> & usageIPs);
    /// @}

    /// @name Slot lists of the float node
    /// Addresses joined by ";" in fixed positions; a missing address leaves its slot empty. From
    /// the node list, read on each call.
    /// @{

    /// Returns the addresses towards upper systems: the slots of the numbers 0 ("northbound"), 2, 3
    /// and 4, each followed by ";"; then every other number that has a tag (1, 5 and up, negative
    /// ones), in ascending order, separated by ";". Examples: "A;;;;", "A;;;;E;G". The first
    /// address for a number wins. Without a northbound tag: the service addresses, "S" or "S;T";
    /// without a "service" address, getMaintenanceIPAddress(). No lock, as for getLocalNodeIPs.
    std::string getLocalNorthIP();

    /// Returns the addresses towards managed equipment: ten slots, "southbound" and "southbound2"
    /// to "southbound10", joined by ";" ("A;;;;;;;;;"); then the non-empty ones of "southbound11"
    /// to "southbound1024", each after a ";". The last address for a slot wins. Without a
    /// southbound tag: as getLocalNorthIP without a northbound one. If a value of the wrong type
    /// ends the walk: the service address seen so far, alone, or getMaintenanceIPAddress(). Read
    /// lock, also while reading the file.
    std::string getLocalSouthIP();

    /// Returns the IP protocol families of getLocalSouthIP(): 0 IPv4 only (also if there is no
    /// address), 1 IPv6 only, 2 both. An address with a colon is IPv6, one with a dot and no colon
    /// is IPv4, anything else is ignored. Read lock, taken a second time inside getLocalSouthIP.
    /// Creates the instance first if there is none.
    int getPFType();
    /// @}

    /// @name All nodes
    /// From the manager node list, read on each call. Read lock, also while reading the file. Never
    /// throw. Return 0, or -1 if `TOLM_ROOT` is unset (there is no default root), the list does not
    /// parse, or a value of the wrong type is met; the outputs then keep what was collected before
    /// it. Nodes are visited in byte order of their ids.
    /// @{

    /// Appends to `addresses` every non-empty "IP" of every node whose member `fieldName` begins
    /// with `valuePrefix`: node by node, in file order within a node, duplicates kept. The member
    /// is read as text (numbers and booleans in jsoncpp's text form; absent is "") and compared
    /// case-sensitively. An empty prefix selects every node.
    int getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                       std::list<std::string>& addresses);

    /// Inserts into `floatIPs`, for every node, the set of its addresses that have any of the tags
    /// `usages` (in lower case). A node without such an address gets an empty set; a tagged entry
    /// without "IP" adds "". A node id that is a key before the call keeps its value. Uses no
    /// loaded value.
    int getAllFloatIP(std::set<std::string> usages,
                      std::map<std::string, std::set<std::string>> & floatIPs);
    /// @}

    /// @name The source node
    /// @{

    /// Sets `sourceNodeId` to the id of the node whose service address is one of this host's
    /// addresses. Leaves it unchanged if there is none.
    ///
    /// Reads the node list on each call. Candidates are all nodes whose `"extAttr"."hostType"` is
    /// not exactly "standby" and that have an entry tagged "service"; the last such entry wins. The
    /// smallest candidate id in byte order wins. A value of the wrong type ends the search; the
    /// candidates found before it are used. Enumerates the interfaces of the host. No lock;
    /// modifies only the argument.
    void getSourceNodeId(std::string & sourceNodeId);
    /// @}

private:
    friend class SysConfReaderImpl;
    friend class ForkedChild;
    template <typename Class>
    friend class ClassLock;

    SysConfReader() = default;
    ~SysConfReader() = default;

    /// Creates, loads and publishes the instance if there is none.
    [[gnu::visibility("hidden")]] static SysConfReader* create();
    /// Reloads the instance, creating it if there is none.
    static void reloadInstance();
    /// Reloads the instance if there is one.
    [[gnu::visibility("hidden")]] static void reloadExisting();
    void reloadLocked();
    void loadFiles(const std::string& appConfigPath, const std::string& instanceId);
    /// The first getLocalNodeIPs, for the float node of that id.
    static void collectNodeIPs(const std::string& nodeId, const std::string& usagePrefix,
                               std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                               std::string& service2IP);

    std::map<std::string, Json::Value> m_dbInfo;
    std::string m_maintenanceIP;
    std::string m_localhostIP;
    std::string m_hostTagName;
    std::string m_wssIP;
    int m_wssPort = 0;
    int m_localPort = 0;
    int m_corbaPort = 0;
    int m_corbaSSLPort = 0;
    std::string m_nodeId;
    std::string m_hostType;
    std::string m_floatNodeId;

    /// Loaded values that some queries read without m_pMutex. A load replaces both in one step when
    /// it ends (docs/decisions/0002-unlocked-queries.md).
    struct Identity {
        std::string floatNodeId;
        std::string maintenanceIP;
    };
    class [[gnu::visibility("hidden")]] IdentityUpdate;
    Identity identity();
    /// Guards m_floatNodeId and m_maintenanceIP, which a writer changes under m_pMutex too. Held
    /// only while two strings are copied or swapped.
    std::mutex m_identityMutex;

    /// Null until an instance has been loaded completely.
    static std::atomic<SysConfReader*> m_pInstance;
    /// Guards m_pInstance and every member of the instance.
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace Quarncommon

#endif // SYSCONFREADER_H
