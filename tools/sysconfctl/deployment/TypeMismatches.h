// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"

#include <rules/Trace.h>

#include <string>
#include <vector>

/// Values over which a rule or a step of a load throws. The rules themselves find them: they run
/// with a trace that lets them go on after such a value.
namespace sysconfctl {

using Quarncommon::rules::TypeMismatch;

/// What a rule expected: "an object", "a text".
const char* expectedText(TypeMismatch::Expected expected);

/// "is an array where an object is read".
std::string describe(const TypeMismatch& mismatch, const Json::Value& root);

/// What a load reads of the app config file for that process.
std::vector<TypeMismatch> appConfigMismatches(const Json::Value& root,
                                              const std::string& instanceId);

/// What any process reads of a node list or a manager node list.
std::vector<TypeMismatch> nodeListMismatches(const Json::Value& root);

/// What this process reads of the node list: its load, and the queries for its addresses.
std::vector<TypeMismatch> ownMismatches(const Json::Value& root, const Values& values);

} // namespace sysconfctl
