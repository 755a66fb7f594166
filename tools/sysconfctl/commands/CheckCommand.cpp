// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "check/Report.h"
#include "cli/Suggestion.h"
#include "cli/UsageError.h"
#include "deployment/CallerDirectory.h"
#include "deployment/KeepUntilExit.h"
#include "render/Output.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

/// @throws UsageError if no finding has such a name.
void verifyIgnored(const std::vector<std::string>& ignored) {
    std::vector<std::string_view> names;
    for (const FindingName& one : findingNames()) {
        names.push_back(one.name);
    }
    for (const std::string& name : ignored) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            throw UsageError(fmt::format("--ignore: no finding is named {}{}", shellWord(name),
                                         didYouMean(name, names)));
        }
    }
}

} // namespace

ExitStatus runCheck(const Options& options) {
    verifyIgnored(options.ignored);
    auto& sources = makeUntilExit<Sources>();
    auto& inventory = makeUntilExit<Inventory>();
    if (options.paths.empty()) {
        sources = readSources(options.localAddresses);
        inventory = inventoryOf(sources);
    } else {
        std::vector<std::string> paths;
        for (const std::string& path : options.paths) {
            paths.push_back(options.pid ? pathOfCaller(path) : path);
        }
        inventory = inventoryOf(paths, options.localAddresses);
    }
    CheckResult result = check(inventory);
    std::erase_if(result.findings, [&](const Finding& finding) {
        return std::find(options.ignored.begin(), options.ignored.end(), finding.name) !=
               options.ignored.end();
    });
    writeOutput(report(result, options));
    if (countOf(result, Severity::Error) != 0) {
        return ExitStatus::ErrorsFound;
    }
    return options.strict && countOf(result, Severity::Warning) != 0 ? ExitStatus::Warnings
                                                                     : ExitStatus::Answered;
}

} // namespace sysconfctl
