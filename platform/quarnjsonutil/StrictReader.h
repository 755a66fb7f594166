// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tape.h"

#include <string_view>

/// Reads the texts that JsonReader(false) accepts, and replaces `tape` then. Not recursive.
/// @throws std::bad_alloc if memory runs out.
bool readStrictly(std::string_view text, Tape& tape);

/// Returns the offset of the first character that no valid text can have there, which is the text's
/// length if it ends too early. std::string_view::npos if that is not known: the text is too long,
/// or not refused, or not before a number or a surrogate that RapidJSON refuses.
/// @throws std::bad_alloc if memory runs out.
std::size_t errorOffset(std::string_view text);
