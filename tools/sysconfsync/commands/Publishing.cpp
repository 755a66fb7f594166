// SPDX-License-Identifier: Apache-2.0
#include "commands/Publishing.h"

#include "cli/FileBytes.h"
#include "cli/SyncDiagnostics.h"
#include "render/Output.h"
#include "render/Text.h"
#include "tree/DeploymentTree.h"

#include <fmt/format.h>

#include <array>
#include <climits>
#include <functional>
#include <pwd.h>
#include <unistd.h>

namespace sysconfsync {
namespace {

using sysconfctl::counted;
using sysconfctl::escaped;
using sysconfctl::reportError;

/// "user@host"
std::string whoText() {
    std::array<char, HOST_NAME_MAX + 1> host{};
    ::gethostname(host.data(), host.size() - 1);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is only one thread.
    const passwd* const user = ::getpwuid(::geteuid());
    const std::string name = user != nullptr ? user->pw_name : std::to_string(::geteuid());
    return name + '@' + host.data();
}

std::string randomId() {
    const std::string text = sysconfctl::readBytes("/proc/sys/kernel/random/uuid");
    return text.substr(0, text.find('\n'));
}

std::string unknownText(const Info& info, const std::string& why) {
    return fmt::format("it is not known whether version {} is published: {}; `sysconfsync status` "
                       "shows it",
                       info.version, why);
}

EtcdError explained(const EtcdError& error, const Transaction& publication, const Info& info) {
    std::string sentence = fmt::format("nothing has been published: {}", error.what());
    if (error.mayBeApplied) {
        sentence = unknownText(info, error.what());
    } else if (error.reason == Failure::TooLarge) {
        sentence += fmt::format("; this version has {}; the members allow 128 operations and "
                                "1572864 bytes unless --max-txn-ops and --max-request-bytes are "
                                "raised",
                                sizeText(publication));
    }
    EtcdError result(error.reason, sentence);
    result.mayBeApplied = error.mayBeApplied;
    return result;
}

/// After the version has been published, a failure is a notice.
void tryStep(const std::string& consequence, const std::function<void()>& step) {
    try {
        step();
    } catch (const std::exception& error) {
        sysconfctl::reportNotice(sysconfctl::diagnostic::kIncomplete,
                                 consequence + ": " + error.what());
    }
}

std::optional<Current> publishExplained(Store& store, const Transaction& publication,
                                        const Info& info) {
    try {
        return store.publish(publication, info);
    } catch (const EtcdError& error) {
        throw explained(error, publication, info);
    } catch (const Cancelled&) {
        reportError(sysconfctl::diagnostic::kInterrupted, unknownText(info, "interrupted"));
        throw;
    }
}

} // namespace

Info nextInfo(const Current& base, const std::string& message) {
    return {.version = base.version() + 1,
            .who = whoText(),
            .when = timeText(),
            .basedOn = base.version(),
            .message = message,
            .id = randomId()};
}

std::string describe(const Info& info) {
    return fmt::format("version {} ({}, {}{})", info.version, escaped(info.who), escaped(info.when),
                       info.message.empty() ? "" : ", " + escaped(info.message));
}

std::string noVersionText(std::int64_t version) {
    return fmt::format("there is no version {}, or it has been deleted", version);
}

std::string sizeText(const Transaction& publication) {
    return fmt::format("{} and {}", counted(publication.success.size(), "operation", "operations"),
                       counted(requestBytes(publication), "byte", "bytes"));
}

bool keepsNodes(Store& store, const Nodes& nodes, const Current& current,
                const SyncOptions& options) {
    if (!current.info || options.removeNodes) {
        return true;
    }
    std::vector<std::string> removed;
    for (const std::string& name : store.nodeNames(current.version())) {
        if (!nodes.contains(name)) {
            removed.push_back(escaped(name));
        }
    }
    if (!removed.empty()) {
        reportError(sysconfctl::diagnostic::kRefused,
                    fmt::format("nothing has been published: version {} has {} that would be "
                                "removed: {}; --remove-nodes removes them",
                                current.version(), counted(removed.size(), "node", "nodes"),
                                sysconfctl::joined(removed, ", ")));
    }
    return removed.empty();
}

bool publishNodes(Store& store, const Nodes& nodes, const Info& info, const Current& base,
                  const SyncOptions& options) {
    const Transaction publication = store.publication(nodes, info, base);
    if (const auto other = publishExplained(store, publication, info)) {
        reportError(sysconfctl::diagnostic::kRefused,
                    fmt::format("nothing has been published: {} has been published since version "
                                "{} was read",
                                other->info ? describe(*other->info) : "no version",
                                base.version()));
        return false;
    }
    if (!options.directory.empty()) {
        tryStep(fmt::format("the next publish needs --based-on {}", info.version), [&] {
            writeState(options.directory,
                       {store.clusterId(), options.prefix, info.version, info.id});
        });
    }
    tryStep(fmt::format("version {} is published, but this cannot be reported", info.version), [&] {
        sysconfctl::writeOutput(fmt::format("version {} is published for {}\n", info.version,
                                            counted(nodes.size(), "node", "nodes")));
    });
    tryStep("old versions are not deleted", [&] { store.deleteOld(options.keep); });
    return true;
}

} // namespace sysconfsync
