#include "commands/Commands.h"

#include "deployment/Cluster.h"
#include "map/Graphviz.h"
#include "map/Picture.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "render/Text.h"

namespace sysconfctl {

ExitStatus runMap(const Options& options) {
    const Cluster cluster = clusterOf(readSources(options.localAddresses));
    const Picture picture = pictureOf(cluster);
    std::optional<std::string> text;
    switch (options.format) {
    case Format::Mermaid:
        text = mermaid(picture);
        break;
    case Format::Table:
        text = pictureTable(picture, outputWidth(), colorWanted(options.color));
        break;
    case Format::Plain:
        text = picturePlain(picture);
        break;
    case Format::Json:
        text = pictureJson(picture);
        break;
    case Format::Svg:
        text = drawnByGraphviz(dot(picture));
        break;
    default:
        text = dot(picture);
    }
    for (const std::string& trouble : cluster.troubles) {
        complain(complaint::kDoesNotLoad, "the " + escaped(trouble));
    }
    if (!text) {
        complain(complaint::kNoGraphviz,
                 "-o svg needs Graphviz's dot, which is not installed; -o dot and -o mermaid do "
                 "without");
        return ExitStatus::NoAnswer;
    }
    writeOutput(*text);
    return cluster.nodes.empty() ? ExitStatus::NoAnswer : ExitStatus::Answered;
}

} // namespace sysconfctl
