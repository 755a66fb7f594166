#pragma once

#include "Suite.h"

#include <string>

/// The three variants, of which a process measures one.
namespace bench {

void addProduct(Suite& suite);
void addBaseline(Suite& suite);

/// What no query can be faster than: "validate", reading a node list into a reused buffer and
/// validating it with simdjson's DOM; and for loaded values "guarded-text" and "guarded-number",
/// the copy of one value under a bare ACE_Read_Guard.
void addLimit(Suite& suite);

/// Answers of product and baseline, each from a process of its own.
/// @throws std::runtime_error when they differ.
void compareAnswers();

} // namespace bench
