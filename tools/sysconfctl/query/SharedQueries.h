// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <queries/Queries.h>

/// The table of queries, which the tool shares with the C library.
namespace sysconfctl {

using namespace Quarncommon::queries;

} // namespace sysconfctl
