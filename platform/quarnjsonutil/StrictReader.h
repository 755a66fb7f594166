// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tape.h"

#include <string_view>

/// Reads the texts that JsonReader(false) accepts, and replaces `tape` then. Not recursive.
/// @param errorOffset If not null, gets the offset of the first character of a refused text that no
///   valid text can have there, which is the text's length if it ends too early; npos if that is
///   not known: the text is too long, or has a number or a surrogate before that RapidJSON refuses.
/// @throws std::bad_alloc if memory runs out.
bool readStrictly(std::string_view text, Tape& tape, std::size_t* errorOffset = nullptr);
