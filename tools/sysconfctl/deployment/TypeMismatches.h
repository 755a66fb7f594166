// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"

#include <rules/Trace.h>

#include <string>
#include <vector>

/// Runs the rules with a trace that lets them continue after a value of the wrong type.
namespace sysconfctl {

using Quarncommon::rules::TypeMismatch;

/// The expected type in words: "an object", "a text".
const char* expectedText(TypeMismatch::Expected expected);

/// "is an array where an object is read".
std::string describe(const TypeMismatch& mismatch, const Json::Value& root);

/// Searches the part of the app config file that a load for that process reads.
std::vector<TypeMismatch> appConfigMismatches(const Json::Value& root,
                                              const std::string& instanceId);

/// Searches what any process may read.
std::vector<TypeMismatch> nodeListMismatches(const Json::Value& root);

/// Searches what this process reads on load and in the queries for its addresses.
std::vector<TypeMismatch> ownMismatches(const Json::Value& root, const Values& values);

} // namespace sysconfctl
