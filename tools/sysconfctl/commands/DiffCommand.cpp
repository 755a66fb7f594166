// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "cli/Environment.h"
#include "cli/ProcessEnvironment.h"
#include "deployment/CallerDirectory.h"
#include "deployment/ProcessAge.h"
#include "diff/Comparison.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Output.h"

#include <filesystem>

namespace sysconfctl {
namespace {

Side sideOf(const std::string& operand, const Options& options) {
    std::error_code error;
    if (std::filesystem::is_directory(operand, error)) {
        return {operand, options.localAddresses};
    }
    applyEnvironment(operand, options.sets);
    return {operand, readSources(options.localAddresses)};
}

Side sideOfProcess(const std::string& pid, const Options& options) {
    applyProcess(pid);
    applyEnvironment(std::nullopt, options.sets);
    reportNewer(newerThanProcess(pid, options.localAddresses.empty()));
    Side side("process " + pid, readSources(options.localAddresses));
    returnToCallerDirectory();
    return side;
}

std::string written(const Comparison& comparison, const Options& options) {
    switch (options.format) {
    case Format::Json:
        return comparisonJson(comparison);
    case Format::Plain:
        return comparisonPlain(comparison);
    default:
        return comparisonTable(comparison, outputWidth(), colorWanted(options.color));
    }
}

} // namespace

ExitStatus runDiff(const Options& options) {
    std::vector<AskedQuery> asked;
    for (const std::string& word : options.queries) {
        asked.push_back(askedQuery(word, "diff"));
    }
    std::vector<Side> sides;
    for (const std::string& pid : options.pids) {
        sides.push_back(sideOfProcess(pid, options));
    }
    for (const std::string& operand : options.environments) {
        sides.push_back(sideOf(operand, options));
    }
    const Comparison comparison = compare(sides[0], sides[1], asked, options.revealSecrets);
    writeOutput(written(comparison, options));
    return comparison.same() ? ExitStatus::Answered : ExitStatus::Different;
}

} // namespace sysconfctl
