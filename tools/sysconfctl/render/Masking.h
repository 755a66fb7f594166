#pragma once

#include "query/Answer.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace sysconfctl {

/// What is written in place of a password, whatever its length.
inline constexpr std::string_view kMask = "********";

/// Which part of an answer must not be shown without being asked for.
enum class Secret {
    None,
    Whole,   ///< the text itself
    Members, ///< members of a JSON value whose names speak of a password
};

/// Whether a member of that name holds a password, by its name. Wider than the one name that the
/// library reads, so that a misspelt or additional password of an entry does not show.
bool speaksOfPassword(std::string name);

/// Where the first word ends that makes a text speak of a password; npos when there is none.
std::size_t endOfPasswordWord(std::string text);

/// Replaces what is secret in the answer by kMask. An empty password is no secret.
void mask(Answer& answer, Secret secret);

} // namespace sysconfctl
