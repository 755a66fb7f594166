// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tape.h"

/// Reads a text of that length, followed by JsonDocument::kPadding readable bytes, several times
/// faster than readStrictly does. Not recursive.
/// @return Whether the text was accepted; only then is `tape` replaced. Refuses some valid texts
///         (docs/decisions/0004-reading-without-a-tree.md), and those with many long numbers, for
///         which readStrictly is faster. None is accepted wrongly.
/// @throws std::bad_alloc if memory runs out.
bool readFast(const char* text, std::size_t length, Tape& tape);
