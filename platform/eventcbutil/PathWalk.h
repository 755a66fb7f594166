// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace eventcbutil {

/// A name in a folder on the way to a file.
struct Place {
    /// Absolute, free of symbolic links, "." and "..".
    std::string folder;
    std::string name;
    /// The last name of the path: the file itself, or a link to it.
    bool last = false;

    bool operator==(const Place&) const = default;
};

struct Found {
    enum class Kind { Nothing, Folder, Link, File };
    Kind kind = Kind::Nothing;
    std::string target; // of a link
};

/// Calls `look` for every place of an absolute path, in the kernel's order, up to the file or to
/// the first place that cannot be passed. Only `look` reads places, so that it can watch them
/// first.
void walkPath(const std::string& path, const std::function<Found(const Place&)>& look);

} // namespace eventcbutil
