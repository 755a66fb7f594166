// SPDX-License-Identifier: Apache-2.0
#include "PathWalk.h"

#include <string_view>
#include <utility>
#include <vector>

namespace eventcbutil {
namespace {

/// The kernel's limit.
constexpr int kMostLinks = 40;

/// The names of a path, the first one last.
using Names = std::vector<std::string>;

void putInFront(Names& names, std::string_view path) {
    while (!path.empty()) {
        const std::size_t slash = path.rfind('/');
        const std::string_view name =
            slash == std::string_view::npos ? path : path.substr(slash + 1);
        if (!name.empty() && name != ".") {
            names.emplace_back(name);
        }
        path = path.substr(0, slash == std::string_view::npos ? 0 : slash);
    }
}

/// The path has no links, so the parent's path is a part of it.
std::string parent(const std::string& folder) {
    const std::size_t slash = folder.rfind('/');
    return slash == 0 ? "/" : folder.substr(0, slash);
}

std::string child(const std::string& folder, const std::string& name) {
    return folder == "/" ? folder + name : folder + "/" + name;
}

} // namespace

void walkPath(const std::string& path, const std::function<Found(const Place&)>& look) {
    Names names;
    putInFront(names, path);
    std::string folder = "/";
    int links = 0;
    while (!names.empty()) {
        const std::string name = std::move(names.back());
        names.pop_back();
        if (name == "..") {
            folder = parent(folder);
            continue;
        }
        const Found found = look({folder, name, names.empty()});
        if (found.kind == Found::Kind::Folder) {
            folder = child(folder, name);
        } else if (found.kind == Found::Kind::Link && ++links <= kMostLinks) {
            folder = found.target.starts_with('/') ? "/" : folder;
            putInFront(names, found.target);
        } else {
            return;
        }
    }
}

} // namespace eventcbutil
