// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "cli/UsageError.h"
#include "deployment/KeepUntilExit.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "render/Text.h"
#include "who/Appearances.h"

#include <fmt/format.h>

namespace sysconfctl {
namespace {

std::string written(const Appearances& found, const Options& options) {
    switch (options.format) {
    case Format::Json:
        return appearanceJson(found);
    case Format::Plain:
        return appearancePlain(found);
    default:
        return appearanceTable(found, outputWidth(), colorWanted(options.color));
    }
}

} // namespace

ExitStatus runWho(const Options& options) {
    if (options.word.empty()) {
        throw UsageError("who takes an address, the id of a node, or a tag");
    }
    const auto& prediction = makeUntilExit<Prediction>(options.localAddresses);
    Cluster& cluster = keepUntilExit(clusterOf(prediction.sources()));
    const Appearances found =
        appearancesOf(options.word, prediction, cluster, options.revealSecrets);
    writeOutput(written(found, options));
    reportUnloadedFiles(cluster.troubles);
    if (!found.none()) {
        return ExitStatus::Answered;
    }
    reportError(diagnostic::kNowhere,
                fmt::format("{} appears in no file and no answer{}", shellWord(options.word),
                            found.near.empty()
                                ? ""
                                : fmt::format(", did you mean {}?", shellWord(found.near))));
    return ExitStatus::NoAnswer;
}

} // namespace sysconfctl
