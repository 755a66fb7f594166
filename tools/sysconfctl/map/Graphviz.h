#pragma once

#include <optional>
#include <string>

namespace sysconfctl {

/// The picture that Graphviz's `dot` draws of a text in its language; nothing when there is no such
/// command.
/// @throws std::runtime_error when it fails.
std::optional<std::string> drawnByGraphviz(const std::string& text);

} // namespace sysconfctl
