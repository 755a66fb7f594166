// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Deployment.h"

#include <json/value.h>

#include <string>

/// Every value contains the number of its generation, so that a test can see which load an answer
/// comes from. In generation 7 the process "p1" runs on "node7".
namespace support {

/// One database "db" with one entry, and the process "p1" with all its values.
Json::Value sampleAppConfig(int generation);

/// The nodes "node1" to "node3" and "node<generation>", masters of tenancy "tenancy<generation>".
/// No host has their service addresses.
Json::Value sampleNodeList(int generation);

/// The nodes "m1" (master) and "m2" (standby) of the same tenancy.
Json::Value sampleManagerNodeList(int generation);

std::string jsonText(const Json::Value& value);

void writeGeneration(Deployment& deployment, int generation);

/// Has the files of generation 1 and, if not null, that event library.
struct SampleDeployment : Deployment {
    explicit SampleDeployment(const char* eventLibrary = nullptr);
};

} // namespace support
