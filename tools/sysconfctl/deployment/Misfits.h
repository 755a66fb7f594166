#pragma once

#include "deployment/Sources.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Values of a type that the library cannot take where they stand. Whether one of them ends a given
/// query is the query's own affair: blame() tries it out.
namespace sysconfctl {

struct Misfit {
    located::Path path;
    /// "is an array where an object is read".
    std::string sentence;
};

/// "an object", "a text", "the number 5": what a value is, in words.
std::string kindOf(const Json::Value& value);

/// In the order in which they are read. Of "processes" only the entry of that id counts.
std::vector<Misfit> appConfigMisfits(const Json::Value& root, const std::string& instanceId);
std::vector<Misfit> nodeListMisfits(const Json::Value& root);

/// The misfits below a path.
std::vector<Misfit> within(const std::vector<Misfit>& misfits, const located::Path& path);

/// Reads a tree as the library does, and throws what the library would throw.
using TreeReader = std::function<void(const Json::Value& root)>;

/// The misfit at which the reader throws even if all others are null; nothing if there is none.
std::optional<Misfit> blame(const Json::Value& root, const std::vector<Misfit>& misfits,
                            const TreeReader& reader);

/// The value at the end of a path, null when there is none.
#if __has_cpp_attribute(gnu::no_dangling)
[[gnu::no_dangling]] // it refers into the tree, never into the path
#endif
const Json::Value&
valueAt(const Json::Value& root, const located::Path& path);

} // namespace sysconfctl
