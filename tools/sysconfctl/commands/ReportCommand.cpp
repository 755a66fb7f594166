// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "deployment/CallerDirectory.h"
#include "deployment/KeepUntilExit.h"
#include "deployment/ProcessAge.h"
#include "map/Graphviz.h"
#include "map/Picture.h"
#include "page/Page.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "watch/Changes.h"

#include <fmt/format.h>

#include <chrono>

namespace sysconfctl {
namespace {

/// A larger picture is unreadable, and Graphviz's run time grows faster than linearly.
constexpr std::size_t kMostDrawn = 200;

void addPicture(PageContents& contents, const Cluster& cluster) {
    if (cluster.nodes.empty()) {
        contents.noPicture = "there is no node";
    } else if (cluster.nodes.size() > kMostDrawn) {
        contents.noPicture = fmt::format("{} nodes are too many for one; sysconfctl map -o svg "
                                         "draws them",
                                         cluster.nodes.size());
    } else if (auto picture = drawWithGraphviz(dot(pictureOf(cluster)))) {
        contents.picture = std::move(*picture);
    } else {
        contents.noPicture = "it needs Graphviz's dot, which is not installed on the machine that "
                             "made this page";
    }
}

} // namespace

ExitStatus runReport(const Options& options) {
    const auto& prediction = makeUntilExit<Prediction>(options.localAddresses);
    const Cluster cluster = clusterOf(prediction.sources());
    const CheckResult checked = check(inventoryOf(prediction.sources()));
    PageContents contents{.prediction = prediction,
                          .cluster = cluster,
                          .checked = checked,
                          .options = options,
                          .picture = {},
                          .noPicture = {},
                          .notices = {},
                          .time = timeText(std::chrono::system_clock::now())};
    if (options.pid) {
        contents.notices = newerThanProcess(*options.pid, options.localAddresses.empty());
    }
    addPicture(contents, cluster);
    const std::string page = pageOf(contents);
    if (options.file) {
        writeOutputFile(pathOfCaller(*options.file), page);
    } else {
        writeOutput(page);
    }
    reportUnloadedFiles(cluster.troubles);
    return ExitStatus::Answered;
}

} // namespace sysconfctl
