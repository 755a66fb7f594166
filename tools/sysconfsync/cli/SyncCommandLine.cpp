// SPDX-License-Identifier: Apache-2.0
#include "cli/SyncCommandLine.h"

#include "cli/FileBytes.h"
#include "cli/HelpText.h"
#include "cli/UsageError.h"
#include "commands/SyncCommands.h"
#include "render/Output.h"
#include "render/Text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdlib>
#include <sstream>
#include <system_error>
#include <utility>

namespace sysconfsync {
namespace {

using sysconfctl::UsageError;

constexpr const char* kFooter = R"(
Exit status:
  0   done; all nodes run the version (status)
  1   refused: the files have errors, or another version has been published; not
      all nodes run the version (status)
  2   bad usage
  3   etcd does not answer, or rejects the request
  70  output could not be written, or an internal error)";

const std::map<std::string, sysconfctl::Format> kFormats = {{"table", sysconfctl::Format::Table},
                                                            {"plain", sysconfctl::Format::Plain},
                                                            {"json", sysconfctl::Format::Json}};
const std::map<std::string, sysconfctl::ColorChoice> kColors = {
    {"auto", sysconfctl::ColorChoice::Auto},
    {"always", sysconfctl::ColorChoice::Always},
    {"never", sysconfctl::ColorChoice::Never}};

/// The first line of the file, or the variable; a password on the command line would be visible to
/// other users.
std::string readPassword(const std::string& file) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment does not change.
    const char* const variable = std::getenv("SYSCONFSYNC_PASSWORD");
    if (file.empty()) {
        if (variable == nullptr) {
            throw UsageError("--user needs --password-file or the variable SYSCONFSYNC_PASSWORD");
        }
        return variable;
    }
    try {
        const std::string text = sysconfctl::readBytes(file);
        return text.substr(0, text.find_first_of("\r\n"));
    } catch (const std::system_error& error) {
        throw UsageError(fmt::format("cannot read the password file {}: {}",
                                     sysconfctl::shellWord(file), error.code().message()));
    }
}

/// Not a default of the option: the parser would apply it for the commands that are not called,
/// too, and these have the same variable for the result.
std::vector<std::string> defaultEndpoints() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment does not change.
    const char* const variable = std::getenv("SYSCONFSYNC_ENDPOINTS");
    const bool isSet = variable != nullptr && *variable != '\0';
    std::istringstream text(isSet ? variable : "http://127.0.0.1:2379");
    std::vector<std::string> endpoints;
    for (std::string endpoint; std::getline(text, endpoint, ',');) {
        endpoints.push_back(endpoint);
    }
    return endpoints;
}

class SyncParser {
public:
    SyncParser()
        : m_app("Distributes the files of a deployment to its nodes through etcd.", "sysconfsync") {
        m_app.set_version_flag("-V,--version", "sysconfsync " SYSCONFSYNC_VERSION,
                               "Print the version and exit");
        m_app.set_help_flag("-h,--help", "Print this help and exit");
        m_app.require_subcommand(1);

        CLI::App& publish = command("publish", "Check a tree and publish it", runPublish);
        addDirectory(publish, "The tree of the deployment");
        addPublishing(publish);
        addOutput(publish);
        publish.add_flag("--dry-run", m_options.dryRun,
                         "Show which answers would change, and write nothing");

        CLI::App& rollback = command("rollback", "Publish an older version again", runRollback);
        rollback.add_option("VERSION", m_options.version, "The older version")
            ->required()
            ->check(CLI::PositiveNumber)
            ->type_name("");
        addPublishing(rollback);

        CLI::App& fetch = command("fetch", "Write a version into a new tree", runFetch);
        addDirectory(fetch, "The new tree: an empty folder, or none");
        addNumber(fetch, "--of", m_options.version, "VERSION",
                  "The version; default: the current one");

        CLI::App& status = command("status", "Show which version each node runs", runStatus);
        addOutput(status);
        addNumber(status, "--wait", m_options.wait, "VERSION",
                  "Wait until all nodes run this version or a newer one");
        addNumber(status, "--timeout", m_timeout, "SECONDS", "Limit of --wait; default: none");

        CLI::App& follow = command("follow", "Keep the files of one node up to date", runFollow);
        follow.add_option("NODE", m_options.node, "The node")->required()->type_name("");
        follow
            .add_option("--folder", m_options.directory,
                        "Receives the files, below \"current\"; default: the working directory")
            ->type_name("DIR");
        follow.add_flag("--once", m_options.once, "Apply what is published, and end");
        follow.add_flag("--accept-older", m_options.acceptOlder,
                        "Apply an older version than the applied one, too");

        m_app.footer(kFooter);
    }

    SyncRequest parse(int argc, const char* const* argv) {
        try {
            m_app.parse(argc, argv);
        } catch (const CLI::CallForHelp&) {
            return {{}, nullptr, sysconfctl::wrapHelp(m_app.help(), sysconfctl::outputWidth())};
        } catch (const CLI::CallForVersion& version) {
            return {{}, nullptr, std::string(version.what()) + '\n'};
        } catch (const CLI::ParseError& error) {
            throw UsageError(fmt::format("{} (sysconfsync --help shows the usage)",
                                         sysconfctl::escaped(error.what())));
        }
        return {finished(), m_run, {}};
    }

private:
    using Run = SyncStatus (*)(const SyncOptions& options);

    CLI::App& command(const char* name, const char* help, Run run) {
        CLI::App& app = *m_app.add_subcommand(name, help);
        app.set_help_flag("-h,--help", "Print this help and exit");
        app.callback([this, run] { m_run = run; });
        Connection& connection = m_options.connection;
        app.add_option("--endpoints", connection.endpoints,
                       "URLs of members of etcd, tried one after the other; default: the "
                       "variable SYSCONFSYNC_ENDPOINTS, or http://127.0.0.1:2379")
            ->delimiter(',')
            ->allow_extra_args(false) // the next word may be an operand
            ->type_name("URL,URL");
        app.add_option("--prefix", m_options.prefix, "The prefix of the keys; default: /sysconf/")
            ->type_name("PREFIX");
        app.add_option("--cacert", connection.caCertificate, "Certificates of authorities, PEM")
            ->type_name("FILE");
        CLI::Option* const certificate =
            app.add_option("--cert", connection.certificate, "Client certificate, PEM")
                ->type_name("FILE");
        certificate->needs(
            app.add_option("--key", connection.key, "Key of the client certificate, PEM")
                ->type_name("FILE")
                ->needs(certificate));
        CLI::Option* const user =
            app.add_option("--user", connection.user,
                           "Name of a user of etcd; the password comes from --password-file or "
                           "the variable SYSCONFSYNC_PASSWORD")
                ->type_name("NAME");
        app.add_option("--password-file", m_passwordFile, "File with the password of the user")
            ->needs(user)
            ->type_name("FILE");
        addNumber(app, "--call-timeout", m_callTimeout, "SECONDS",
                  "Time limit of each attempt of a call; default: 5");
        return app;
    }

    void addDirectory(CLI::App& app, const char* help) {
        app.add_option("DIR", m_options.directory, help)->required()->type_name("");
    }

    template <typename Target>
    static void addNumber(CLI::App& app, const char* name, Target& target, const char* value,
                          const char* help) {
        app.add_option(name, target, help)->check(CLI::PositiveNumber)->type_name(value);
    }

    void addPublishing(CLI::App& app) {
        app.add_option("--based-on", m_options.basedOn,
                       "The version that must be current, 0 for none")
            ->check(CLI::NonNegativeNumber)
            ->type_name("VERSION");
        app.add_flag("--remove-nodes", m_options.removeNodes,
                     "Publish also if the current version has more nodes");
        app.add_option("-m,--message", m_options.message, "What has changed")->type_name("TEXT");
        addNumber(app, "--keep", m_options.keep, "NUMBER",
                  "How many versions are kept; default: 10");
    }

    void addOutput(CLI::App& app) {
        app.add_option("-o,--output", m_options.format, "One of table, plain, json; default: table")
            ->transform(CLI::CheckedTransformer(kFormats).description(""))
            ->type_name("FORMAT");
        app.add_option("--color", m_options.color, "One of auto, always, never; default: auto")
            ->transform(CLI::CheckedTransformer(kColors).description(""))
            ->type_name("WHEN");
    }

    SyncOptions finished() {
        Connection& connection = m_options.connection;
        if (connection.endpoints.empty()) {
            connection.endpoints = defaultEndpoints();
        }
        for (std::string& endpoint : connection.endpoints) {
            if (!endpoint.starts_with("http://") && !endpoint.starts_with("https://")) {
                throw UsageError(fmt::format("--endpoints: {} is not a URL such as "
                                             "http://127.0.0.1:2379",
                                             sysconfctl::shellWord(endpoint)));
            }
            endpoint.erase(endpoint.find_last_not_of('/') + 1);
        }
        if (!m_options.prefix.ends_with('/')) {
            m_options.prefix += '/';
        }
        if (!connection.user.empty()) {
            connection.password = readPassword(m_passwordFile);
        }
        connection.callLimit = std::chrono::seconds(m_callTimeout);
        if (m_timeout) {
            m_options.timeout = std::chrono::seconds(*m_timeout);
        }
        return m_options;
    }

    SyncOptions m_options;
    Run m_run = nullptr;
    std::string m_passwordFile;
    std::optional<int> m_timeout;
    int m_callTimeout = 5;
    CLI::App m_app;
};

} // namespace

SyncRequest parseSyncCommandLine(int argc, const char* const* argv) {
    return SyncParser().parse(argc, argv);
}

} // namespace sysconfsync
