// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace eventcbutil {

/// One name in one folder on the way to a file. A change of what the path refers to is a change at
/// one of these places.
struct Place {
    /// Absolute, free of symbolic links, "." and "..".
    std::string folder;
    std::string name;
    /// The last name of the path: the file itself, or a link to it.
    bool last = false;

    bool operator==(const Place&) const = default;
};

/// What is found at a place.
struct Found {
    enum class Kind { Nothing, Folder, Link, File };
    Kind kind = Kind::Nothing;
    std::string target; // of a link
};

/// Calls `look` for every place on the way of an absolute path, in the order in which the kernel
/// resolves it, links step by step, up to the file or to the first place that does not lead on. A
/// place is not looked at before `look` is called for it, so that `look` can watch it first.
void walkPath(const std::string& path, const std::function<Found(const Place&)>& look);

} // namespace eventcbutil
