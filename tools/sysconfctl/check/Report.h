// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"
#include "cli/CommandLine.h"

namespace sysconfctl {

const char* nameOf(Severity severity);
std::size_t countOf(const CheckResult& result, Severity severity);
/// "path:line:column", the path relative to the working directory if that is shorter.
std::string placeOf(const Finding& finding);
std::string placeOf(const RelatedPlace& place);

/// An object of the JSON output. Passwords are masked unless `reveal` is true.
Json::Value findingJson(const Finding& finding, bool reveal);

std::string report(const CheckResult& result, const Options& options);
/// Each returns the whole output. JSON and SARIF contain the notes, others only on request.
std::string tableReport(const CheckResult& result, const Options& options);
std::string plainReport(const CheckResult& result, const Options& options);
std::string jsonReport(const CheckResult& result, const Options& options);
std::string sarifReport(const CheckResult& result, const Options& options);
std::string junitReport(const CheckResult& result, const Options& options);
std::string githubReport(const CheckResult& result, const Options& options);

} // namespace sysconfctl
