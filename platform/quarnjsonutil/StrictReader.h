// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tape.h"

#include <string_view>

/// Reads the texts that JsonReader(false) accepts. Not recursive.
/// @return Whether the text was accepted; only then is `tape` replaced.
/// @throws std::bad_alloc if memory runs out.
bool readStrictly(std::string_view text, Tape& tape);
