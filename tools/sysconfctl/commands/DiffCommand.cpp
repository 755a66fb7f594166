// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "cli/Environment.h"
#include "cli/UsageError.h"
#include "diff/Comparison.h"
#include "render/Color.h"
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
    if (options.environments.size() != 2) {
        throw UsageError("diff takes two environments: env files or directories");
    }
    std::vector<AskedQuery> asked;
    for (const std::string& word : options.queries) {
        asked.push_back(askedQuery(word));
    }
    Side a = sideOf(options.environments[0], options);
    Side b = sideOf(options.environments[1], options);
    const Comparison comparison = compare(a, b, asked, options.revealSecrets);
    writeOutput(written(comparison, options));
    return comparison.same() ? ExitStatus::Answered : ExitStatus::Different;
}

} // namespace sysconfctl
