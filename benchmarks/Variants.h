// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Suite.h"

#include <string>

namespace bench {

void addProduct(Suite& suite);
void addBaseline(Suite& suite);

/// The minimum for any implementation. "read" opens a node list, reads it into a reused buffer and
/// closes it. "guarded-text" and "guarded-number" copy a value with an ACE_Read_Guard.
void addLimit(Suite& suite);

/// Compares the answers, each from its own process. Throws std::runtime_error if they differ.
void compareAnswers();

} // namespace bench
