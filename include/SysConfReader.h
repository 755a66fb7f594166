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

/// The configuration reader: where this process runs, by which addresses and ports, and with which
/// databases.
///
/// One instance exists per process, created and loaded on first use, reloaded in place by Reload()
/// (which a change event calls, see SysConfReaderEvent.h) and freed by Destory() only. The next
/// Instance() after that builds and loads a fresh one.
///
/// Sources:
/// - app config file: the path in `APP_CONF_FILE`; `<instance>` below stands for the member of
///   "processes" that the value of `PROCESS_INSTANCE_ID` names
/// - node list: value of `APP_ROOT` followed by "/etc/sysconf/nodelist.json"
/// - manager node list: value of `TOLM_ROOT` followed by "/etc/sysconf/nodelists.json"
///
/// An unset variable counts as "" unless an operation says otherwise. Paths are joined as they
/// stand, nothing is normalised. Only regular files are read; anything else, like a file that is
/// missing, cannot be read to its end, or is not one valid JSON text, counts as not parsed.
/// Loaded values come from the app config file and the node list as they were at the last load;
/// address queries read and parse their file again on every call, so a change shows at once.
///
/// Nodes. The own node is the member of "nodeList" named by `<instance>."nodeId"`. The float node
/// is the own node, or, on a node whose `"extAttr"."hostType"` is "standby", the node whose service
/// address this host carries (see getSourceNodeId). Both ids are fixed at the load.
///
/// Tags. An address entry's "usage" is an array of tags, lower-cased byte by byte (`tolower`, in
/// the current C locale) before they are compared; a plain string in its place has no tags.
///
/// Threads. Any thread may call any operation, but none may use a pointer from Instance() once
/// Destory() has been called. One reader/writer lock serves the class: "read lock" below means
/// that its read side is held for the whole call (waiting for a load, running beside other
/// queries); creation, Reload() and Destory() hold the write side. A load that waits for queries in
/// progress goes before queries that begin later, however busy the callers are. When a lock call
/// fails, its error number is left in `errno` and the operation goes on without the lock.
///
/// Forks. A forked child may exec, _exit and exit() whatever other threads were doing in the
/// library when it was forked. It may also call every operation of the library's classes, as far as
/// the C library bears with it that a child of several threads allocates memory (glibc does),
/// provided that it asks Instance() anew: an instance that another thread was creating, reloading
/// or destroying at that moment is abandoned in the child, and the next Instance() builds and loads
/// a fresh one. An instance that was at rest is the child's own copy. The child has no subscription
/// to change events until it loads for the first time after a Destory() (or after such an
/// abandoning), when the event library is called in the child; and none at all when it was forked
/// in the middle of a subscription, of the end of one or of the search for an event library (where
/// there is none, each load searches). A child that is forked by an event library within its entry
/// points may only exec or _exit.
///
/// Unloading. The library stays in the process until its end: dlclose() gives the handle back and
/// changes nothing, an event is applied all the same, and the next dlopen() finds the instances
/// that there are.
///
/// End of the process. Threads that are still asking while the process exits are answered until it
/// is gone; change events that come by then are no longer applied.
///
/// Ownership. Answers are copies. Outputs passed by reference are the caller's; they are appended
/// to or updated, never cleared, unless an operation says otherwise.
///
/// Failures. Bad configuration is never reported: it gives "" or 0, or what an operation says.
/// "Never throws" means that whatever goes wrong inside, memory that runs out included, ends in
/// the answer told for it. Every other operation throws std::bad_alloc when memory for its answer
/// runs out. The lock is free after every call, however it ends.
class [[gnu::visibility("default")]] SysConfReader {
public:
    /// @name The instance
    /// @{

    /// The reader, created and loaded on first use; never null. Takes no lock when it exists, else
    /// the write lock for the whole creation. It becomes visible only when it is loaded; two
    /// threads that come first together get the same pointer from one load. Creates the role
    /// reader (SysConfReaderImpl) too, which subscribes to change events.
    /// @throws std::bad_alloc, and whatever an event library throws out of its subscription;
    ///         nothing is published then, and the next call tries again.
    static SysConfReader* Instance();

    /// Destroys the role reader (creating it first if it does not exist), which ends the
    /// subscription to change events, then, under the write lock, this reader.
    /// @throws as SysConfReaderImpl::Instance() does, with nothing destroyed.
    static void Destory();

    /// Forgets the databases and runs the loader again, under the write lock. Every other value is
    /// replaced only by what the loader finds: after a load that cannot parse the app config file
    /// there are no databases, while addresses, ports and ids are those of the load before.
    /// @throws what an event library throws, before anything but the databases has changed.
    void Reload();

    /// The loader, for the library's own use; the caller holds the write lock. In this order:
    /// subscribes to change events unless that is done, reads the databases, the addresses and
    /// ports and the own node id from the app config file, then the host type, the float node id
    /// and the host tag from the node list. A file that does not parse is passed over. A value of
    /// the wrong type ends the loader on the spot and silently: values read before it are new, all
    /// later ones stay as they were.
    /// @throws only what subscribing throws.
    void init_i();

    SysConfReader(const SysConfReader&) = delete;
    SysConfReader& operator=(const SysConfReader&) = delete;
    /// @}

    /// @name Loaded values
    /// Read lock. 0 or "" when the last load found none. Ports are decimal numbers as the file has
    /// them; a port given as text ends the load (see init_i).
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
    /// Maintenance address of this process, the "ip" under "IR" of its `<instance>`; the last
    /// resort of getLocalServiceIP, getLocalNorthIP and getLocalSouthIP.
    std::string getMaintenanceIPAddress();
    /// Host tag of the float node, its "HOSTID" under "extAttr" in the node list: on a standby node
    /// the tag of the node that it stands in for.
    std::string getLocalHostTagName();
    /// Id of the float node: `<instance>."nodeId"`, or what getSourceNodeId gave on a standby node.
    std::string getFloatNodeId();
    /// @}

    /// @name Roles
    /// Forwarded to SysConfReader_i, creating it and the role reader on first use; no lock of this
    /// class.
    /// @{

    /// Internal-service address of the master node of the local tenancy.
    std::string GetMasterInternalServiceIP() const;
    /// Internal-service address of the standby node of the local tenancy.
    std::string GetStandbyInternalServiceIP() const;
    /// @}

    /// The value of `APP_ROOT`, "" when unset; read anew on each call. No lock.
    std::string GetAppRoot();

    /// @name Databases
    /// The entries of "databases" in the app config file, as of the last load: a database is
    /// normally an array of connection entries, `index` counts from 0. Names are compared byte for
    /// byte. Read lock. An unknown name gives -1 or "". Inside a known database the answers are
    /// jsoncpp's: an index past the end, or a field that is absent or null, gives 0 or "".
    /// @throws Json::Exception when the database is neither an array nor null, the entry neither an
    ///         object nor null, or the field not convertible to the answer's type.
    /// @{

    /// Replaces `info` by the database's whole value, of whatever type it is, and answers 0.
    /// Unknown name: answers -1 and leaves `info` alone.
    int getDBInfo(const std::string& name, Json::Value& info);
    /// Replaces `all` by every database, keyed by name. Answers 0. When memory runs out, `all` is
    /// as before.
    int getAllDBInfo(std::map<std::string, Json::Value> & all);
    /// "accessPort": the port on which the database is reached. Unknown name: -1.
    int getDBAccessPort(const std::string& name, unsigned int index);
    /// "type".
    std::string getDBType(const std::string& name, unsigned int index);
    /// "user": login user name.
    std::string getDBUserName(const std::string& name, unsigned int index);
    /// "serviceName".
    std::string getDBServiceName(const std::string& name, unsigned int index);
    /// "passwd": login password, exactly as it stands in the file.
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

    /// "IP" of the first address entry that carries the tag `usage` (in any letter case, compared
    /// whole), in file order. "maintenance" is looked up in the own node, every other tag in the
    /// float node. The first tagged entry decides even when it has no "IP" (the answer is then
    /// ""). "" too when no entry is tagged so, the list does not parse, or a value on the way to
    /// the answer has the wrong type.
    std::string getLocalIPByUsage(const std::string& usage);
    /// getLocalIPByUsage("maintenance"): the own node's, never that of the node it stands in for.
    std::string getLocalMaintenanceIP();
    /// getLocalIPByUsage("service"); when that is "", the loaded maintenance address
    /// (getMaintenanceIPAddress), for which the read lock is taken a second time, by itself.
    std::string getLocalServiceIP();
    /// getLocalIPByUsage("service2"). No fallback.
    std::string getLocalService2IP();
    /// @}

    /// @name Families of numbered addresses of the float node
    /// From the node list, read on each call. Without the lock: a reload on another thread never
    /// makes them wait, and they answer by the float node of before or after it, never of a load
    /// half done. Never throw: whatever goes wrong while walking the list ends the walk there.
    /// @{

    /// Collects the addresses whose tag contains `usagePrefix`, by the number in the tag, and the
    /// node's service addresses.
    ///
    /// @param usagePrefix Searched in the lower-cased tag, itself as it stands: one with a capital
    ///        letter is never found, an empty one is found in every tag.
    /// @param indexedIPs Receives number -> "IP" (also when that is empty) for each tag that
    ///        contains the prefix. The number is the tag's text from the position equal to the
    ///        prefix's length on, as `strtol` reads it in base 10, cut to 32 bits: "northbound" is
    ///        0, "northbound2" is 2. The first address for a number counts; keys that are there
    ///        before the call are never overwritten.
    /// @param serviceIP,service2IP Receive the "IP" of the last entry tagged "service" or
    ///        "service2", among tags that do not contain the prefix; else left alone.
    ///
    /// "IPAddresses" and "usage" may be objects in place of arrays; their members count in key
    /// order. A list that does not parse changes nothing; an error part-way keeps what was
    /// collected.
    void getLocalNodeIPs(const std::string& usagePrefix, std::map<int, std::string>& indexedIPs,
                         std::string& serviceIP, std::string& service2IP);

    /// Collects the southbound addresses by tag.
    ///
    /// @param usageIPs First gets the keys "southbound" and "southbound2" ... "southbound1024",
    ///        each set to ""; there is no "southbound1". Then every tag that is a key of the map
    ///        by now, the caller's own keys included, sets its value to the entry's "IP"; of
    ///        several entries the last counts. If no tag was a key, "service" is set to the last
    ///        address tagged so, or to "", and "service2" likewise if there is a non-empty one.
    ///
    /// "IPAddresses" and "usage" must be arrays. When the list does not parse, "service" is set to
    /// "". When a value of the wrong type ends the walk, "service" is set to the service address
    /// seen so far, matched tags or not. A map reused from an earlier call that has the key
    /// "service" takes that tag for a match like any other.
    void getLocalNodeIPs(std::map<std::string, std::string> & usageIPs);
    /// @}

    /// @name Slot lists of the float node
    /// Addresses joined by ";" in fixed positions; a missing address leaves its slot empty. From
    /// the node list, read on each call.
    /// @{

    /// Addresses towards upper systems: slots "northbound" (number 0), then 2, 3 and 4, each
    /// followed by ";"; then, in ascending order, every other number that has a tag (1, 5 and up,
    /// negative ones), separated by ";". Without any of these the list ends in the ";" of slot 4:
    /// "A;;;;", "A;;;;E;G". Of several addresses for a number the first counts.
    /// Without a northbound tag: the service addresses, "S" or "S;T", or without a "service"
    /// address the loaded maintenance address (getMaintenanceIPAddress).
    /// No lock; see getLocalNodeIPs for what that means during a reload.
    std::string getLocalNorthIP();

    /// Addresses towards managed equipment: ten slots, "southbound" and "southbound2" to
    /// "southbound10", joined by ";" ("A;;;;;;;;;"); then the non-empty ones of "southbound11" to
    /// "southbound1024", each behind a ";". "southbound1" is no slot. Of several addresses for a
    /// slot the last counts.
    /// Without a southbound tag: the service addresses, "S" or "S;T", or without a "service"
    /// address the loaded maintenance address (getMaintenanceIPAddress), which is also the answer
    /// when the list does not parse. When a value of the wrong type ends the walk: the service
    /// address seen so far, alone, or that maintenance address.
    /// Read lock, file reading included.
    std::string getLocalSouthIP();

    /// IP protocol families of getLocalSouthIP(): 0 IPv4 only (also when there is no address), 1
    /// IPv6 only, 2 both. An address with a colon is IPv6, one with a dot and no colon IPv4,
    /// anything else counts for nothing.
    /// Read lock, taken a second time inside getLocalSouthIP. Creates the instance first if there
    /// is none.
    int getPFType();
    /// @}

    /// @name All nodes
    /// From the manager node list, read on each call. Read lock, file reading included. Never
    /// throw. Answer 0, or -1 when `TOLM_ROOT` is unset (there is no default root), the list does
    /// not parse, or a value of the wrong type is met; the outputs then keep what was collected
    /// before it. Nodes come in ascending order of their ids by bytes.
    /// @{

    /// Appends to `addresses` every non-empty "IP" of every node whose member `fieldName` begins
    /// with `valuePrefix`: node by node, each node's in file order, duplicates kept. The member is
    /// read as text (numbers and booleans in jsoncpp's text form; absent is ""), compared letter
    /// case included; an empty prefix selects every node.
    int getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                       std::list<std::string>& addresses);

    /// Inserts into `floatIPs`, for every node, the set of its addresses that carry any of the
    /// tags `usages` (to be given in lower case). A node without such an address gets an empty
    /// set, a tagged entry without "IP" adds "". A node id that is a key before the call keeps its
    /// value untouched. Does not use any loaded value.
    int getAllFloatIP(std::set<std::string> usages,
                      std::map<std::string, std::set<std::string>> & floatIPs);
    /// @}

    /// Whom this host stands in for: sets `sourceNodeId` to the id of the node whose service
    /// address is one of the host's own addresses; leaves it alone when there is none.
    ///
    /// Reads the node list on each call. Candidates are all nodes whose `"extAttr"."hostType"` is
    /// not exactly "standby" and that have an entry tagged "service"; of several such entries the
    /// last one's "IP" counts. Of several candidates the smallest id by bytes wins. A list that
    /// does not parse has no candidates; a value of the wrong type ends the search for candidates
    /// with those found so far. Meant for load time: it enumerates the host's interfaces.
    /// No lock; touches nothing but the argument.
    void getSourceNodeId(std::string & sourceNodeId);

private:
    friend class SysConfReaderImpl;
    friend class ForkedChild;

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

    /// The two loaded values that some queries read without m_pMutex. A load replaces both at its
    /// end in one step, so that those queries neither wait for a load nor see one half done.
    struct Identity {
        std::string floatNodeId;
        std::string maintenanceIP;
    };
    class [[gnu::visibility("hidden")]] IdentityUpdate;
    Identity identity();
    /// Guards m_floatNodeId and m_maintenanceIP for those who do not hold m_pMutex, and who changes
    /// them holds both. Held for the copy or the swap of two strings only, never while loading.
    std::mutex m_identityMutex;

    /// Null until an instance has been loaded completely.
    static std::atomic<SysConfReader*> m_pInstance;
    /// Guards m_pInstance and every member of the instance.
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace Quarncommon

#endif // SYSCONFREADER_H
