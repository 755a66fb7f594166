// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/QueryUsage.h"

#include <optional>
#include <string>

namespace sysconfctl {

struct Reply {
    const Query* query;
    Arguments arguments;
    Answer answer;
    std::optional<std::string> error = std::nullopt;

    /// Quoted for a shell.
    std::string label() const;
};

/// An exception of the library becomes the error of the reply. Unless `revealSecrets` is true,
/// secrets are masked here, so that no renderer sees them.
/// @throws UsageError if the query does not accept the arguments.
Reply ask(const Query& query, const Arguments& arguments, bool revealSecrets);

} // namespace sysconfctl
