// SPDX-License-Identifier: Apache-2.0
#include "deployment/Sources.h"

#include "deployment/CallerDirectory.h"
#include "render/Text.h"

#include <config/FileText.h>

#include <JsonReader.h>
#include <QuarnCommonUtils_i.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace sysconfctl {
namespace {

namespace config = Quarncommon::config;
namespace rules = Quarncommon::rules;

Variable variable(const char* name) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment no longer changes.
    const char* const value = std::getenv(name);
    return {name, value != nullptr ? std::optional<std::string>(value) : std::nullopt};
}

void explainUnreadable(SourceFile& source) {
    const auto failed = [&] {
        source.errorNumber = errno;
        source.unreadable = std::system_category().message(source.errorNumber);
    };
    struct stat status {};
    if (::stat(source.path.c_str(), &status) != 0) {
        failed();
        return;
    }
    if (!S_ISREG(status.st_mode)) {
        source.unreadable = "Not a regular file";
        return;
    }
    const int descriptor = ::open(source.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        failed();
        return;
    }
    ::close(descriptor);
    source.unreadable = "It changes while it is read";
}

SourceFile read(std::string_view title, Variable variable, std::string path, Form form) {
    SourceFile source;
    source.title = title;
    source.variable = std::move(variable);
    source.path = std::move(path);
    std::optional<std::string> text = config::readText(source.path);
    if (!text) {
        explainUnreadable(source);
    }
    source.path = pathForCaller(source.path);
    if (!text) {
        return source;
    }
    source.parse(*text, form);
    source.document = located::Document(std::move(*text));
    return source;
}

constexpr std::string_view kAppConfigTitle = "application configuration file";
constexpr std::string_view kNodeListTitle = "node list";
constexpr std::string_view kManagerNodeListTitle = "manager node list";

SourceFile read(std::string_view title, const config::ConfigFile& file, Form form = Form::Tree) {
    return read(title, variable(file.variable), config::pathOf(file), form);
}

SourceFile readAt(std::string_view title, const config::ConfigFile& file, const std::string& path) {
    return read(title, {file.variable, path}, path, Form::Tree);
}

} // namespace

void SourceFile::parse(std::string& text, Form form) {
    if (form == Form::Tree) {
        loads = JsonReader(false).parse(text, m_tree.emplace());
        return;
    }
    text.reserve(text.size() + config::Document::kPadding);
    auto parsed = std::make_shared<config::Document>();
    loads = parsed->read(text.data(), text.size());
    m_parsed = std::move(parsed);
}

rules::Node SourceFile::root() const {
    return m_parsed != nullptr ? m_parsed->root() : tree();
}

const Json::Value& SourceFile::tree() const {
    if (!m_tree) {
        m_tree = m_parsed != nullptr ? m_parsed->root().value() : Json::Value();
    }
    return *m_tree;
}

std::string SourceFile::where(std::size_t offset) const {
    const located::Place place = document.place(offset);
    return fmt::format("{}:{}:{}", path, place.line, place.column);
}

std::string SourceFile::trouble() const {
    if (loads) {
        return {};
    }
    if (!unreadable.empty()) {
        return fmt::format("{}: {}", path.empty() ? "(no path)" : path, unreadable);
    }
    if (const auto& error = document.error()) {
        return fmt::format("{}: {}", where(error->offset), error->sentence);
    }
    return fmt::format("{}: the JSON library rejects it", path);
}

SourceFile readAppConfig() {
    return read(kAppConfigTitle, config::kAppConfig);
}

SourceFile readNodeList(Form form) {
    return read(kNodeListTitle, config::kNodeList, form);
}

SourceFile readManagerNodeList(Form form) {
    return read(kManagerNodeListTitle, config::kManagerNodeList, form);
}

SourceFile readAppConfigAt(const std::string& path) {
    return readAt(kAppConfigTitle, config::kAppConfig, path);
}

SourceFile readNodeListAt(const std::string& path) {
    return readAt(kNodeListTitle, config::kNodeList, path);
}

SourceFile readManagerNodeListAt(const std::string& path) {
    return readAt(kManagerNodeListTitle, config::kManagerNodeList, path);
}

std::list<std::string> addressesOfHost(const std::vector<std::string>& localAddresses) {
    std::list<std::string> addresses(localAddresses.begin(), localAddresses.end());
    if (addresses.empty()) {
        QuarnCommonUtils_i::getAllIPAddr(addresses);
    }
    return addresses;
}

Lists readLists(Form form) {
    std::future<SourceFile> managerNodeList = std::async(readManagerNodeList, form);
    SourceFile nodeList = readNodeList(form);
    return {std::move(nodeList), managerNodeList.get()};
}

Sources readSources(const std::vector<std::string>& localAddresses, Form lists) {
    Lists read = readLists(lists);
    return {variable(config::kInstanceIdVariable), readAppConfig(), std::move(read.nodeList),
            std::move(read.managerNodeList), addressesOfHost(localAddresses)};
}

} // namespace sysconfctl
