// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "deployment/Cluster.h"
#include "deployment/KeepUntilExit.h"
#include "map/Graphviz.h"
#include "map/Picture.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "render/Text.h"

namespace sysconfctl {
namespace {

/// On a terminal the default is a table: the drawing formats are input for other programs.
constexpr const char* kHowToDraw =
    "\nto draw it: sysconfctl map -o svg >map.svg, or -o dot, mermaid\n";

} // namespace

ExitStatus runMap(const Options& options) {
    Cluster& cluster = keepUntilExit(
        clusterOf(keepUntilExit(readSources(options.localAddresses, Form::Document))));
    const std::vector<std::string> unmatched = unknownValues(cluster, options.filter);
    const std::vector<std::string> unused = unknownMissingTags(cluster, options.filter);
    keepAccepted(cluster, options.filter);
    Picture& picture = keepUntilExit(pictureOf(cluster));
    std::optional<std::string> text;
    const bool readable = !options.formatGiven && outputIsTerminal();
    switch (readable ? Format::Table : options.format) {
    case Format::Mermaid:
        text = mermaid(picture);
        break;
    case Format::Table:
        text = pictureTable(picture, outputWidth(), colorWanted(options.color));
        *text += readable ? kHowToDraw : "";
        break;
    case Format::Plain:
        text = picturePlain(picture);
        break;
    case Format::Json:
        text = pictureJson(picture);
        break;
    case Format::Svg:
        text = drawWithGraphviz(dot(picture));
        break;
    default:
        text = dot(picture);
    }
    reportUnloadedFiles(cluster.troubles);
    reportUnmatched(unmatched, unused);
    if (!text) {
        reportError(diagnostic::kNoGraphviz,
                    "-o svg needs Graphviz's dot, which is not installed; -o dot and -o mermaid do "
                    "without");
        return ExitStatus::NoAnswer;
    }
    writeOutput(*text);
    return cluster.nodes.empty() || !unmatched.empty() ? ExitStatus::NoAnswer
                                                       : ExitStatus::Answered;
}

} // namespace sysconfctl
