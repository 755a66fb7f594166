#include "CommandLine.h"

#include "Text.h"
#include "UsageError.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace sysconfctl {
namespace {

constexpr const char* kFooter = R"(
Exit status:
  0   answered; nothing wrong (check); ended by Ctrl-C or SIGTERM (watch)
  1   no answer: the library gives an empty text or -1 (get, explain), there is
      no node (nodes, map), or nothing that draws (map)
  2   bad usage
  3   the library threw; errors found (check)
  4   warnings found, no errors (check --strict)
  70  output could not be written, or a fault of this tool: what it explains
      is not what the library answers (explain)

Environment files have KEY=VALUE lines and comments (#). Relative values of
APP_CONF_FILE, APP_ROOT and TOLM_ROOT start at the file's own folder; of these
and PROCESS_INSTANCE_ID, those that the file does not name count as unset.)";

/// Options that stand before a command or behind it.
struct Common {
    std::string envFile;
    std::vector<std::string> sets;
};

void addCommonOptions(CLI::App& app, Common& common) {
    app.add_option("--env-file", common.envFile,
                   "Environment of the process to ask about; default: the current one")
        ->type_name("FILE");
    app.add_option("--set", common.sets, "Set a variable, after --env-file; repeatable")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
}

constexpr std::pair<const char*, Format> kFormats[] = {
    {"table", Format::Table}, {"plain", Format::Plain}, {"json", Format::Json},
    {"wide", Format::Wide},   {"dot", Format::Dot},     {"mermaid", Format::Mermaid},
    {"svg", Format::Svg},
};

Format formatNamed(const std::string& name) {
    const auto* const named = std::find_if(std::begin(kFormats), std::end(kFormats),
                                           [&](const auto& row) { return name == row.first; });
    return named != std::end(kFormats) ? named->second : Format::Table;
}

/// The first of the names is the default.
void addFormat(CLI::App& app, std::string& name,
               const std::vector<std::string>& names = {"table", "plain", "json"}) {
    name = names.front();
    std::string list;
    for (const std::string& listed : names) {
        list += (list.empty() ? "" : listed == names.back() ? " or " : ", ") + listed;
    }
    app.add_option("-o,--output", name,
                   fmt::format("Format of the output: {}; default: {}", list, name))
        ->type_name("FORMAT")
        ->check(CLI::IsMember(names).description(""));
}

void addColor(CLI::App& app, ColorChoice& color) {
    const std::map<std::string, ColorChoice> choices = {{"auto", ColorChoice::Auto},
                                                        {"always", ColorChoice::Always},
                                                        {"never", ColorChoice::Never}};
    app.add_option_function<std::string>(
           "--color", [&color, choices](const std::string& name) { color = choices.at(name); },
           "Colour: auto (on a terminal, unless NO_COLOR is set), always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""));
}

void addLocalAddresses(CLI::App& app, std::vector<std::string>& addresses) {
    app.add_option("--local-address", addresses,
                   "Address of the host, in place of those that it has; repeatable")
        ->type_name("ADDRESS")
        ->allow_extra_args(false);
}

void addRevealSecrets(CLI::App& app, bool& reveal) {
    app.add_flag("--reveal-secrets", reveal, "Do not mask passwords");
}

/// CLI11 would take a positional in brackets for a list. A byte behind the bracket hides it, one
/// that no word of a command line can hold.
constexpr char kHider = '\0';

std::string hidden(std::string word) {
    const bool bracketed = word.size() >= 2 && word.front() == '[' && word.back() == ']';
    return bracketed ? std::move(word) + kHider : word;
}

std::string unhidden(std::string text) {
    std::erase(text, kHider);
    return text;
}

/// The last word first, as CLI11 wants them.
std::vector<std::string> reversedWords(int count, const char* const* words) {
    std::vector<std::string> reversed;
    for (int i = count - 1; i > 0; --i) {
        reversed.push_back(hidden(words[i]));
    }
    return reversed;
}

class Parser {
public:
    Parser() : m_app("Shows what the configuration library answers, and asks it.", "sysconfctl") {
        m_app.set_version_flag("--version", "sysconfctl " SYSCONFCTL_VERSION);
        m_app.require_subcommand(0, 1);
        addCommonOptions(m_app, m_before);
        addShow();
        addGet();
        addWatch();
        addExplain();
        addCheck();
        addNodes();
        addMap();
        m_app.footer(kFooter); // last, because commands would inherit it
    }

    ParsedCommandLine parse(int count, const char* const* words) {
        try {
            m_app.parse(reversedWords(count, words));
            return {understood(), std::nullopt};
        } catch (const CLI::CallForHelp&) {
            return {{}, m_app.help()};
        } catch (const CLI::CallForVersion& version) {
            return {{}, std::string(version.what()) + '\n'};
        } catch (const CLI::ParseError& error) {
            throw UsageError(escaped(unhidden(error.what())) +
                             " (sysconfctl --help tells the usage)");
        }
    }

private:
    void addShow() {
        m_show = m_app.add_subcommand("show", "Show every answer of the library");
        addCommonOptions(*m_show, m_behind);
        addFormat(*m_show, m_showFormat);
        addRevealSecrets(*m_show, m_options.revealSecrets);
    }

    void addGet() {
        m_get = m_app.add_subcommand("get", "Print one answer, bare, for scripts");
        m_get->add_option("QUERY", m_options.query, "Name of the query, see --list")->type_name("");
        m_get->add_option("ARGUMENT", m_options.arguments, "Arguments of the query")->type_name("");
        m_get->add_flag("--list", m_list, "List all queries with their arguments");
        addCommonOptions(*m_get, m_behind);
        addFormat(*m_get, m_getFormat, {"plain", "table", "json"});
        addRevealSecrets(*m_get, m_options.revealSecrets);
    }

    void addWatch() {
        m_watch =
            m_app.add_subcommand("watch", "Show every answer, then each change, until Ctrl-C");
        addCommonOptions(*m_watch, m_behind);
        addFormat(*m_watch, m_watchFormat, {"text", "json"});
        addRevealSecrets(*m_watch, m_options.revealSecrets);
    }

    void addExplain() {
        m_explain = m_app.add_subcommand("explain", "Tell the way to an answer");
        m_explain->add_option("QUERY", m_options.query, "Name of the query, see get --list")
            ->type_name("");
        m_explain->add_option("ARGUMENT", m_options.arguments, "Arguments of the query")
            ->type_name("");
        m_explain->add_flag("--all", m_options.all, "Every query");
        addCommonOptions(*m_explain, m_behind);
        addFormat(*m_explain, m_explainFormat);
        addRevealSecrets(*m_explain, m_options.revealSecrets);
        addColor(*m_explain, m_options.color);
    }

    void addCheck() {
        m_check = m_app.add_subcommand("check", "Find what is wrong with files and environment");
        m_check->add_flag("--strict", m_options.strict, "End with 4 when there are warnings only");
        addCommonOptions(*m_check, m_behind);
        addFormat(*m_check, m_checkFormat);
        addRevealSecrets(*m_check, m_options.revealSecrets);
        addColor(*m_check, m_options.color);
        addLocalAddresses(*m_check, m_options.localAddresses);
    }

    void addNodes() {
        m_nodes = m_app.add_subcommand("nodes", "List the nodes of both node lists");
        addCommonOptions(*m_nodes, m_behind);
        addFormat(*m_nodes, m_nodesFormat, {"table", "wide", "plain", "json"});
        addLocalAddresses(*m_nodes, m_options.localAddresses);
    }

    void addMap() {
        m_map = m_app.add_subcommand("map", "Draw the deployment");
        addCommonOptions(*m_map, m_behind);
        addFormat(*m_map, m_mapFormat, {"dot", "mermaid", "svg"});
        addLocalAddresses(*m_map, m_options.localAddresses);
    }

    Options understood() {
        m_options.sets = m_before.sets;
        m_options.sets.insert(m_options.sets.end(), m_behind.sets.begin(), m_behind.sets.end());
        for (const std::string& file : {m_before.envFile, m_behind.envFile}) {
            if (!file.empty()) {
                m_options.envFile = unhidden(file);
            }
        }
        m_options.format = formatNamed(m_showFormat);
        if (m_get->parsed()) {
            understandGet();
        } else if (m_watch->parsed()) {
            m_options.command = Command::Watch;
            m_options.format = formatNamed(m_watchFormat);
        } else if (m_explain->parsed()) {
            m_options.command = Command::Explain;
            m_options.format = formatNamed(m_explainFormat);
            if (m_options.all == !m_options.query.empty()) {
                throw UsageError("explain takes either a query or --all");
            }
        } else if (m_check->parsed()) {
            m_options.command = Command::Check;
            m_options.format = formatNamed(m_checkFormat);
        } else if (m_nodes->parsed()) {
            m_options.command = Command::Nodes;
            m_options.format = formatNamed(m_nodesFormat);
        } else if (m_map->parsed()) {
            m_options.command = Command::Map;
            m_options.format = formatNamed(m_mapFormat);
        } else if (!m_show->parsed()) {
            throw UsageError("a command is required (sysconfctl --help lists them)");
        }
        m_options.query = unhidden(m_options.query);
        for (std::string& argument : m_options.arguments) {
            argument = unhidden(argument);
        }
        for (std::string& address : m_options.localAddresses) {
            address = unhidden(address);
        }
        return m_options;
    }

    void understandGet() {
        m_options.command = m_list ? Command::List : Command::Get;
        m_options.format = formatNamed(m_getFormat);
        if (m_list == !m_options.query.empty()) {
            throw UsageError("get takes either a query or --list");
        }
    }

    CLI::App m_app;
    CLI::App* m_show = nullptr;
    CLI::App* m_get = nullptr;
    CLI::App* m_watch = nullptr;
    CLI::App* m_explain = nullptr;
    CLI::App* m_check = nullptr;
    CLI::App* m_nodes = nullptr;
    CLI::App* m_map = nullptr;
    Common m_before;
    Common m_behind;
    Options m_options;
    std::string m_showFormat;
    std::string m_getFormat;
    std::string m_watchFormat;
    std::string m_explainFormat;
    std::string m_checkFormat;
    std::string m_nodesFormat;
    std::string m_mapFormat;
    bool m_list = false;
};

} // namespace

ParsedCommandLine parseCommandLine(int count, const char* const* words) {
    return Parser().parse(count, words);
}

} // namespace sysconfctl
