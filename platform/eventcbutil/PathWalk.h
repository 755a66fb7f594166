#pragma once

#include <functional>
#include <string>

namespace eventcbutil {

/// One name in one folder, on the way to a file. Whoever knows of every change of every place on
/// the way knows when the path begins to lead to something else.
struct Place {
    /// Absolute, free of symbolic links, "." and "..".
    std::string folder;
    std::string name;
    /// Nothing follows: the file itself is here, or the link that stands for it.
    bool last = false;

    bool operator==(const Place&) const = default;
};

/// What is found at a place.
struct Found {
    enum class Kind { Nothing, Folder, Link, File };
    Kind kind = Kind::Nothing;
    std::string target; // of a link
};

/// Asks `look` about every place on the way of an absolute path, in the order in which the kernel
/// comes by, links step by step, up to the file or to the first place from which there is no way
/// on. A place is looked at when `look` is called and not before, so that it can be watched first.
void walkPath(const std::string& path, const std::function<Found(const Place&)>& look);

} // namespace eventcbutil
