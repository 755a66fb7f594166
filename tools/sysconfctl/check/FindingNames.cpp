// SPDX-License-Identifier: Apache-2.0
#include "check/Finding.h"

namespace sysconfctl {

const std::vector<FindingName>& findingNames() {
    static const std::vector<FindingName> names = {
        {"absent", "A value that the library reads is absent"},
        {"database-no-list", "The value of a database is not a list"},
        {"empty", "A value is empty"},
        {"empty-id", "A node or a database has no name"},
        {"empty-instance", "PROCESS_INSTANCE_ID is empty"},
        {"equal-ports", "Two endpoints of a process have the same address and port"},
        {"foreign-address", "An address of a process is not an address of its node"},
        {"foreign-node", "An address of a process belongs to another node"},
        {"hidden-character", "A leading or trailing blank, or an invisible character"},
        {"left-out", "An env file or a linked folder of a tree is not read"},
        {"list-mismatch", "Node lists describe a node differently"},
        {"no-address", "An address entry has no address"},
        {"no-addresses", "A node has no addresses"},
        {"no-databases", "There is no database"},
        {"no-file", "A file cannot be read"},
        {"no-instance", "No process has the name in PROCESS_INSTANCE_ID"},
        {"no-internal", "A node has no internal-service and no maintenance address"},
        {"no-master", "A tenancy has a standby, but no master"},
        {"no-node-id", "A process names no node"},
        {"no-nodes", "A node list has no nodes"},
        {"no-own-node", "The node list does not have the node of a process"},
        {"no-processes", "An application configuration file has no processes"},
        {"no-service", "A node has no service address"},
        {"no-source", "A standby has no node to stand in for"},
        {"no-tags", "An address has no tags"},
        {"northbound-number",
         "A northbound tag is read with another number than it appears to have"},
        {"not-an-address", "A text is not an address"},
        {"not-in-manager-list", "A node of the node list is not in the manager node list"},
        {"null", "A value is null"},
        {"odd-type", "A value is converted from another type"},
        {"port-range", "A port is out of range"},
        {"refused", "The JSON library rejects a file"},
        {"repeated-member", "A member is repeated"},
        {"role-mismatch", "The two values of a role do not match"},
        {"role-name", "The value of a role is unknown"},
        {"same-address", "Two nodes have the same address for one purpose"},
        {"same-slot", "A node has two addresses for one slot"},
        {"several-masters", "A tenancy has several masters"},
        {"several-sources", "A standby could stand in for several nodes"},
        {"several-standbys", "A tenancy has several standbys"},
        {"southbound-number", "A southbound tag names no slot"},
        {"syntax", "A file is malformed"},
        {"tenancy-mismatch", "Node lists name different tenancies for a node"},
        {"unknown-member", "An unknown member resembles one that is absent"},
        {"unknown-tag", "An unknown tag resembles one that the library looks for"},
        {"unspecified-address", "An address is 0.0.0.0 or ::"},
        {"usage-no-list", "The tags of an address are not a list"},
        {"wrong-type", "A load or a query stops at a value of the wrong type"},
    };
    return names;
}

} // namespace sysconfctl
