// SPDX-License-Identifier: Apache-2.0
#include "commands/SyncCommands.h"

#include "check/Report.h"
#include "cli/SyncDiagnostics.h"
#include "commands/DryRun.h"
#include "commands/Publishing.h"
#include "commands/StoppableClient.h"
#include "render/Output.h"
#include "render/Text.h"
#include "tree/DeploymentTree.h"

#include <fmt/format.h>

namespace sysconfsync {
namespace {

namespace diagnostic = sysconfctl::diagnostic;

std::optional<Nodes> checkedNodes(const SyncOptions& options) {
    const sysconfctl::Inventory inventory = sysconfctl::inventoryOf({options.directory}, {});
    const sysconfctl::CheckResult result = sysconfctl::check(inventory);
    if (sysconfctl::countOf(result, sysconfctl::Severity::Error) != 0) {
        sysconfctl::Options shown;
        shown.format = options.format;
        shown.color = options.color;
        sysconfctl::writeOutput(sysconfctl::report(result, shown));
        sysconfctl::reportError(diagnostic::kRefused,
                                "nothing has been published: the files have errors");
        return std::nullopt;
    }
    CollectedTree tree = collectTree(inventory, options.directory);
    for (const std::string& problem : tree.problems) {
        sysconfctl::reportError(diagnostic::kRefused, problem);
    }
    for (const std::string& path : tree.leftOut) {
        sysconfctl::reportNotice(diagnostic::kNotPublished,
                                 sysconfctl::shellWord(path) +
                                     " is not published: no env file names it");
    }
    return tree.problems.empty() ? std::optional(std::move(tree.nodes)) : std::nullopt;
}

/// The version that the tree is based on; 0: none of this cluster and prefix.
TreeState baseOf(const SyncOptions& options, const std::string& clusterId) {
    if (options.basedOn) {
        return {.version = *options.basedOn};
    }
    const std::optional<TreeState> state = readState(options.directory);
    const bool sameStore = state && state->cluster == clusterId && state->prefix == options.prefix;
    return sameStore ? *state : TreeState();
}

/// Whether the tree is based on the current version. Reports otherwise.
bool verifyBase(const SyncOptions& options, const Current& current, const std::string& clusterId) {
    const TreeState base = baseOf(options, clusterId);
    const bool sameNumber = base.version == current.version();
    if (sameNumber && (!current.info || base.id.empty() || base.id == current.info->id)) {
        return true;
    }
    const std::string have = base.version == 0
                                 ? "this tree is not based on a version"
                                 : fmt::format("this tree is based on {}version {}",
                                               sameNumber ? "another " : "", base.version);
    sysconfctl::reportError(
        diagnostic::kRefused,
        current.info
            ? fmt::format("nothing has been published: {} is current, and {}; `sysconfsync fetch` "
                          "reads it, --based-on {} replaces it",
                          describe(*current.info), have, current.version())
            : fmt::format("nothing has been published: {}, but there is no version; --based-on 0 "
                          "begins with the first one",
                          have));
    return false;
}

} // namespace

SyncStatus runPublish(const SyncOptions& options) {
    const std::optional<Nodes> nodes = checkedNodes(options);
    if (!nodes) {
        return SyncStatus::Refused;
    }
    StoppableClient client(options.connection);
    Store store(client, options.prefix);
    const Current current = store.current();
    if (!verifyBase(options, current, store.clusterId()) ||
        !keepsNodes(store, *nodes, current, options)) {
        return SyncStatus::Refused;
    }
    const Info info = nextInfo(current, options.message);
    if (options.dryRun) {
        const Nodes before = current.info ? store.nodes(current.version()) : Nodes();
        sysconfctl::writeOutput(
            dryRun(before, *nodes, current, store.publication(*nodes, info, current), options));
        return SyncStatus::Done;
    }
    return publishNodes(store, *nodes, info, current, options) ? SyncStatus::Done
                                                               : SyncStatus::Refused;
}

} // namespace sysconfsync
