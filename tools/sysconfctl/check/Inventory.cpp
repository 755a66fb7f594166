// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "cli/Environment.h"
#include "cli/UsageError.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>

namespace sysconfctl {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNodeListFile = "etc/sysconf/nodelist.json";
constexpr std::string_view kManagerNodeListFile = "etc/sysconf/nodelists.json";

class Tree {
public:
    explicit Tree(Inventory& inventory) : m_inventory(inventory) {}

    void add(const std::string& operand) {
        std::error_code error;
        const fs::file_status status = fs::status(operand, error);
        if (!fs::exists(status)) {
            throw UsageError(fmt::format("{}: {}", shellWord(operand),
                                         error ? error.message() : "No such file or directory"));
        }
        if (!fs::is_directory(status)) {
            addFile(operand, true);
            return;
        }
        std::vector<std::string> paths;
        for (auto entry = fs::recursive_directory_iterator(
                 operand, fs::directory_options::skip_permission_denied, error);
             entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            const std::string path = entry->path().lexically_normal();
            if (!entry->is_directory(error)) {
                paths.push_back(path);
            } else if (entry->is_symlink(error) && *fs::relative(path, operand).begin() == "..") {
                m_inventory.leftOut.push_back(shellWord(path) + " is a link to a folder outside");
            }
        }
        std::sort(paths.begin(), paths.end());
        for (const std::string& path : paths) {
            addFile(path, false);
        }
    }

    void finish() {
        for (const auto& [path, named] : m_envFiles) {
            addEnvFile(path, named);
        }
        for (const auto& [path, file] : m_appConfigs) {
            if (!m_used.contains(file)) {
                View view;
                view.appConfig = file;
                view.nodeList = nearest(path, m_nodeLists);
                view.managerNodeList = managerOf(path, view.nodeList);
                addView(view);
            }
        }
        for (const auto& [path, file] : m_nodeLists) {
            if (!m_used.contains(file)) {
                View view;
                view.nodeList = file;
                view.managerNodeList = managerOf(path, file);
                addView(view);
            }
        }
        for (const auto& entry : m_managerNodeLists) {
            if (!m_used.contains(entry.second)) {
                View view;
                view.managerNodeList = entry.second;
                addView(view);
            }
        }
    }

private:
    using Files = std::map<std::string, const SourceFile*>;

    using Read = SourceFile (*)(const std::string& path);

    const SourceFile* load(Read read, const std::string& path) {
        const std::string key = fs::weakly_canonical(path);
        const auto found = m_files.find(key);
        if (found != m_files.end()) {
            return found->second;
        }
        m_inventory.files.push_back(read(path));
        return m_files[key] = &m_inventory.files.back();
    }

    void addFile(const std::string& path, bool named) {
        const std::string normal = fs::path(path).lexically_normal();
        const std::string name = fs::path(normal).filename();
        if (fs::path(normal).extension() == ".env") {
            m_envFiles.emplace_back(normal, named);
        } else if (name == "nodelists.json") {
            m_managerNodeLists[normal] = load(readManagerNodeListAt, normal);
        } else if (name == "nodelist.json") {
            m_nodeLists[normal] = load(readNodeListAt, normal);
        } else if (named || fs::path(normal).extension() == ".json") {
            addAppConfig(normal, named);
        }
    }

    /// Other JSON files have none of the known members and are not malformed.
    void addAppConfig(const std::string& path, bool named) {
        SourceFile file = readAppConfigAt(path);
        const bool isOne =
            !file.loads || (file.tree().isObject() && (file.tree().isMember("processes") ||
                                                       file.tree().isMember("databases")));
        if (named || (isOne && file.unreadable.empty())) {
            m_inventory.files.push_back(std::move(file));
            m_appConfigs[path] = m_files[fs::weakly_canonical(path)] = &m_inventory.files.back();
        }
    }

    /// A file that the user did not name may belong to another program, so it is no usage error.
    void addEnvFile(const std::string& path, bool named) {
        std::map<std::string, std::string> values;
        std::string text;
        try {
            if (!named && fs::is_other(path)) { // reading a pipe would block
                throw UsageError(shellWord(path) + " is not a regular file");
            }
            text = readEnvFileText(path);
            for (const Assignment& one : parseEnvFile(text, shellWord(path))) {
                values[one.variable] = one.value;
            }
        } catch (const UsageError& error) {
            if (named) {
                throw;
            }
            m_inventory.leftOut.emplace_back(error.what());
            return;
        }
        if (!named && !values.contains("APP_CONF_FILE") && !values.contains("APP_ROOT")) {
            return;
        }
        const auto at = [&](const char* variable, std::string_view suffix) {
            const auto found = values.find(variable);
            if (found == values.end() || found->second.empty()) {
                return std::string();
            }
            const fs::path root = fs::path(found->second).is_absolute()
                                      ? fs::path(found->second)
                                      : fs::path(path).parent_path() / found->second;
            return (suffix.empty() ? root : root / suffix).lexically_normal().string();
        };
        View view;
        const auto set = [&](const SourceFile* View::*file, const std::string& place, Read read,
                             Files& known) {
            if (!place.empty()) {
                view.*file = load(read, place);
                known[place] = view.*file;
            }
        };
        view.paths = {path, at("APP_CONF_FILE", ""), at("APP_ROOT", kNodeListFile),
                      at("TOLM_ROOT", kManagerNodeListFile), std::move(text)};
        set(&View::appConfig, view.paths->appConfig, readAppConfigAt, m_appConfigs);
        set(&View::nodeList, view.paths->nodeList, readNodeListAt, m_nodeLists);
        set(&View::managerNodeList, view.paths->managerNodeList, readManagerNodeListAt,
            m_managerNodeLists);
        if (const auto id = values.find("PROCESS_INSTANCE_ID"); id != values.end()) {
            view.instance = id->second;
        }
        addView(view);
    }

    void addView(const View& view) {
        m_used.insert({view.appConfig, view.nodeList, view.managerNodeList});
        m_inventory.views.push_back(view);
    }

    /// A list that has none of the nodes belongs to another deployment.
    const SourceFile* managerOf(const std::string& path, const SourceFile* list) const {
        const SourceFile* const manager = nearest(path, m_managerNodeLists);
        if (manager == nullptr || list == nullptr || !list->loads || !manager->loads ||
            (m_managerNodeLists.size() == 1 && m_nodeLists.size() == 1)) {
            return manager;
        }
        const std::vector<std::string> ids = nodesOf(*list).getMemberNames();
        const bool shares = std::any_of(ids.begin(), ids.end(), [&](const std::string& id) {
            return nodesOf(*manager).isMember(id);
        });
        return shares ? manager : nullptr;
    }

    /// The file that shares the most parent directories.
    static const SourceFile* nearest(const std::string& path, const Files& files) {
        const fs::path from(path);
        const SourceFile* best = nullptr;
        std::ptrdiff_t most = -1;
        for (const auto& [name, file] : files) {
            const fs::path other(name);
            const auto common =
                std::mismatch(from.begin(), from.end(), other.begin(), other.end()).first;
            const auto folders = std::distance(from.begin(), common);
            if (folders > most) {
                most = folders;
                best = file;
            }
        }
        return best;
    }

    Inventory& m_inventory;
    std::map<std::string, const SourceFile*> m_files;
    std::vector<std::pair<std::string, bool>> m_envFiles;
    Files m_appConfigs;
    Files m_nodeLists;
    Files m_managerNodeLists;
    std::set<const SourceFile*> m_used;
};

} // namespace

Inventory inventoryOf(const Sources& sources) {
    Inventory inventory;
    inventory.views.push_back(
        {&sources.appConfig, &sources.nodeList, &sources.managerNodeList, sources.instance.text()});
    inventory.hostAddresses = sources.hostAddresses;
    return inventory;
}

Inventory inventoryOf(const std::vector<std::string>& operands,
                      const std::vector<std::string>& localAddresses) {
    Inventory inventory;
    Tree tree(inventory);
    for (const std::string& operand : operands) {
        tree.add(operand);
    }
    tree.finish();
    if (inventory.views.empty()) {
        throw UsageError(fmt::format("nothing to check in {}: no env file, app config file or node "
                                     "list",
                                     joined(operands, ", ")));
    }
    inventory.hostAddresses.assign(localAddresses.begin(), localAddresses.end());
    return inventory;
}

} // namespace sysconfctl
