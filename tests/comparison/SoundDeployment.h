// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/Files.h"

/// The process "p1" on "n1", the standby of tenancy "t1", whose source node is "n2".
inline files::Texts soundDeployment() {
    const char* const nodes = R"({"nodeList":{
"n1":{"assignedToTenancy":"t1","extAttr":{"hostType":"standby","domain_node_type":"ACCESS_Backup",
"HOSTID":"TAG1"},"IPAddresses":[{"IP":"10.1.0.1","usage":["maintenance"]},
{"IP":"10.1.0.2","usage":["internal_service"]}]},
"n2":{"assignedToTenancy":"t1","extAttr":{"hostType":"master","domain_node_type":"ACCESS_Master",
"HOSTID":"TAG2"},"IPAddresses":[{"IP":"10.0.0.7","usage":["service","float"]},
{"IP":"10.2.0.2","usage":["northbound","southbound"]},{"IP":"10.2.0.3","usage":["internal_service"]}
]}}})";
    return {R"({"databases":{"db":[{"type":"t","accessHost":"h","accessPort":5,"user":"u",
"passwd":"p","serviceName":"s","serverName":"v","instanceExt":{"lib":"l"}}]},
"processes":{"p1":{"nodeId":"n1","IR":{"ip":"10.9.0.1"},"local":{"ip":"10.9.0.2","port":1},
"wss":{"ip":"10.9.0.3","port":2},"CORBA":{"port":3},"CORBA_SSL":{"port":4}}}})",
            nodes, nodes};
}
